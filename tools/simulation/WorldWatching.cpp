#include "simulation/World.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <utility>

// What a run learns of the engine: its log, its stores after each of their jobs, and the change stream that it asks
// for.

namespace veskline::simulation {

namespace {

std::string read(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

} // namespace

SyncCoordinator::EventStream World::watch(std::function<void(std::vector<std::string>)> onPathsChanged) {
    onPathsChanged_ = std::move(onPathsChanged);
    const int number = ++streams_;
    return {.stop = [this, number] {
        if (number == streams_) {
            onPathsChanged_ = {};
        }
    }};
}

void World::readLine(const std::string& line) {
    trace_.add("log " + line);
    lastLines_.push_back(line);
    logOrder_.read(line);
    if (line == "Performing initial scan...") {
        isPastDrain_ = false;
        queueWatch_.drainBegins(project_.userID());
    }
    readFailedUpload(line);
    for (const std::string_view reason : {"Initial scan: ", "Rescan: "}) {
        if (line.starts_with(reason)) {
            lacksSession_ = !hasSession_ || (lacksSession_ && ledger_.isScanUnderWay());
            ledger_.scanBegins(line.substr(reason.size()));
        }
    }
    if (line.starts_with("Initial scan: ")) {
        isPastDrain_ = true;
        drainMayHaveEnded();
    }
    if (line.starts_with("Summary: ") || line.starts_with("Rescan failed for ")) {
        ledger_.scanEnds(line);
    }
}

void World::readFailedUpload(const std::string& line) {
    constexpr std::string_view failed = "Upload failed, queued for retry: ";
    if (line.starts_with(failed) && !lacksSession_) {
        const std::size_t end = line.rfind(" (");
        queueWatch_.uploadFailed(line.substr(failed.size(), end - failed.size()), line.substr(end + 2));
    }
}

// An older start that was stopped may still be at its drain.
void World::drainMayHaveEnded() {
    if (startsUnderWay_ == 0 || (startsUnderWay_ == 1 && isPastDrain_)) {
        queueWatch_.drainEnds();
    }
}

void World::lookAtStores() {
    if (databaseTap_.hasRun()) {
        if (auto rows = reader_.changedRows()) {
            ledger_.rowsBecame(*std::move(rows));
        }
    }
    if (queueTap_.hasRun()) {
        queueWatch_.fileBecame(read(queueFolder_ + "/retry-queue.json"));
    }
    if (sessionTap_.hasRun()) {
        const std::string session = read(sessionFolder_ + "/session.json");
        hasSession_ = !session.empty();
        lacksSession_ = lacksSession_ || !hasSession_;
        if (hasSession_ && !nlohmann::json::accept(session)) {
            findings_.violate("the stores are whole at every moment", session);
        }
    }
}

} // namespace veskline::simulation
