#include "simulation/World.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <utility>

namespace veskline::simulation {

std::string userOfNumber(std::uint32_t number) {
    return number % 2 == 0 ? "ann" : "bob";
}

World::World(const Script& script, Trace& trace, Findings& findings)
    : script_(script), trace_(trace), findings_(findings),
      coordinator_(config_, client_, database_, retryQueue_, sessionStore_,
                   SyncCoordinator::Surroundings{
                       .pool = thread_.executor(),
                       .main = main_.executor(),
                       .clock = thread_.clock(),
                       .watchFolders = [this](std::vector<std::string>,
                                              std::function<void(std::vector<std::string>)> onPathsChanged) {
                           return watch(std::move(onPathsChanged));
                       }}) {
    nameInTrace();
    project_.setFaults([this](std::string_view request) {
        const auto fault = wireFaults_.strike(request);
        trace_.add(std::string(fault ? "spoilt " : "request ") + std::string(request));
        return fault;
    });
    project_.setObserver(
        [this](std::string_view request, const std::string& key) { ledger_.carriedOut(request, key); });
    thread_.run([&] { return coordinator_.setLogHandler([this](const std::string& line) { readLine(line); }); });
}

void World::nameInTrace() {
    for (const std::string& root : tree_.roots()) {
        trace_.name(Oracle::rootTag(root), "tag-" + root.substr(root.rfind('/') + 1));
    }
    trace_.name(folder_.at(""), "~/");
}

void World::run() {
    project_.signIn(userOfNumber(0));
    begin(&World::signIn, 0);
    settle();
    for (const Operation& operation : script_.operations) {
        for (std::uint32_t i = 0; i < operation.jobsBefore && step(); ++i) {
        }
        trace_.add("* " + textOf(operation));
        perform(operation);
    }
    comeToRest();
    startForTheLastTime();
}

bool World::step() {
    if (!thread_.step()) {
        return false;
    }
    lookAtStores();
    return true;
}

// Until nothing is under way, however long that takes.
void World::settle() {
    constexpr int longest = 100'000;
    for (int i = 0; i < longest; ++i) {
        while (step()) {
        }
        if (!thread_.hasTimers()) {
            return;
        }
        thread_.pass(std::chrono::seconds(1));
    }
    findings_.violate("everything comes to rest", "something sleeps and wakes for ever");
}

void World::comeToRest() {
    wireFaults_.heal();
    performOnSurroundings({0, Action::unlockDatabase, {}});
    performOnSurroundings({0, Action::thaw, {}});
    tree_.comeToRest();
    settle();
    begin(&World::stop);
    settle();
    ledger_.isAtRest();
    begin(&World::signIn, script_.lastUser);
    settle();
}

void World::startForTheLastTime() {
    trace_.add("* the last start");
    lastLines_.clear();
    begin(&World::start);
    settle();
    if (std::ranges::any_of(tasks_, [](const async::TaskHandle& task) { return !task.hasEnded(); })) {
        findings_.violate("everything comes to rest", "a task waits for something that will not come");
    }
    if (lastLines_.empty() || !lastLines_.back().starts_with("Watching ")) {
        findings_.violate("a start with a well service ends well", lastLines_.empty() ? "" : lastLines_.back());
    }
    for (const std::string& line : lastLines_) {
        if (line.starts_with("Upload failed") || line.starts_with("Delete sync warning")) {
            findings_.violate("a start with a well service ends well", line);
        }
    }
}

void World::perform(const Operation& operation) {
    tree_.apply(operation);
    performOnEngine(operation);
    performOnSurroundings(operation);
}

void World::performOnEngine(const Operation& operation) {
    const std::uint32_t number = operation.numbers[0];
    switch (operation.action) {
    case Action::start:
        return begin(&World::start, number);
    case Action::stop:
        return begin(&World::stop);
    case Action::signOut:
        return begin(&World::signOut);
    case Action::signIn:
        return begin(&World::signIn, number);
    case Action::pass:
        return thread_.pass(std::chrono::milliseconds(number));
    case Action::report:
        return report(number);
    default:
        return;
    }
}

void World::performOnSurroundings(const Operation& operation) {
    const auto& [first, second, third] = operation.numbers;
    switch (operation.action) {
    case Action::expireToken:
        ++findings_.faults["token expired"];
        return project_.expireAccessToken();
    case Action::fault:
        return wireFaults_.add(first, second, third);
    case Action::heal:
        return wireFaults_.heal();
    case Action::lockDatabase:
        ++findings_.faults["database locked"];
        return reader_.lock();
    case Action::unlockDatabase:
        return reader_.unlock();
    case Action::freezeQueue:
        return freeze(queueFolder_, "queue not writable");
    case Action::freezeSession:
        return freeze(sessionFolder_, "session not writable");
    case Action::thaw:
        std::filesystem::permissions(queueFolder_, std::filesystem::perms::owner_all);
        return std::filesystem::permissions(sessionFolder_, std::filesystem::perms::owner_all);
    case Action::closeFile:
    case Action::closeFolder:
        ++findings_.faults["file or folder closed"];
        return;
    case Action::moveRootAway:
        ++findings_.faults["root moved away"];
        return;
    case Action::ingest:
        return ingest();
    default:
        return;
    }
}

void World::freeze(const std::string& folder, const char* kind) {
    using enum std::filesystem::perms;
    ++findings_.faults[kind];
    std::filesystem::permissions(folder, owner_read | owner_exec);
}

// The worker takes its jobs; what nobody told it of it does not see.
void World::ingest() {
    for (const testing::InProcessProject::FileJob& job : std::exchange(project_.jobs, {})) {
        for (auto& [key, file] : project_.files) {
            if (file.id == job.fileID && job.kind == "ingest") {
                file.ingestedSHA256 = file.sha256;
            }
        }
    }
}

void World::begin(async::Task<> (World::*body)(std::uint32_t), std::uint32_t number) {
    tasks_.push_back(async::spawn(thread_.executor(), [this, body, number] { return (this->*body)(number); }));
}

async::Task<> World::start(std::uint32_t speed) {
    ++startsUnderWay_;
    logOrder_.startAsked();
    try {
        co_await coordinator_.startSync(tree_.roots(), speed == 0 ? SyncMode::ultra : SyncMode::regular);
    } catch (const std::exception& error) {
        trace_.add(std::string("start failed: ") + error.what());
        logOrder_.startFailed();
    }
    --startsUnderWay_;
    isPastDrain_ = isPastDrain_ || startsUnderWay_ == 0;
    drainMayHaveEnded();
}

async::Task<> World::stop(std::uint32_t) {
    logOrder_.stopBegins();
    co_await coordinator_.stopSync();
    logOrder_.stopEnds();
}

async::Task<> World::signOut(std::uint32_t) {
    logOrder_.stopBegins();
    co_await coordinator_.signOut();
    logOrder_.stopEnds();
}

async::Task<> World::signIn(std::uint32_t user) {
    project_.signIn(userOfNumber(user));
    queueWatch_.userDuringDrain(project_.userID());
    try {
        co_await client_.signIn(project_.userID() + "@example.com", "a password");
    } catch (const std::exception& error) {
        trace_.add(std::string("sign-in failed: ") + error.what());
    }
}

void World::report(std::uint32_t root) {
    if (!onPathsChanged_) {
        return;
    }
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < tree_.roots().size(); ++i) {
        if (root == 2 || root % tree_.roots().size() == i) {
            paths.push_back(tree_.roots()[i] + "/changed.txt");
        }
    }
    onPathsChanged_(std::move(paths));
}

} // namespace veskline::simulation
