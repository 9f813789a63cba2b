#include "local_project/IngestWorker.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <exception>
#include <fstream>
#include <utility>

#include <fmt/format.h>

namespace local_project {

namespace {

// What the first bytes of a document must be, by its extension; anything else is read as text.
constexpr std::array<std::pair<std::string_view, std::string_view>, 8> signatures = {{{".pdf", "%PDF"},
                                                                                      {".docx", "PK"},
                                                                                      {".xlsx", "PK"},
                                                                                      {".pptx", "PK"},
                                                                                      {".odt", "PK"},
                                                                                      {".ods", "PK"},
                                                                                      {".odp", "PK"},
                                                                                      {".epub", "PK"}}};

std::string loweredExtension(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension();
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char byte) { return static_cast<char>(tolower(byte)); });
    return extension;
}

// Why the content cannot be read; the empty text where it can.
std::string complaintAbout(const std::optional<StoredObject>& object, const std::string& path) {
    if (!object) {
        return "The object is missing from the bucket";
    }
    if (object->bytes == 0) {
        return "The document is empty";
    }
    const std::string extension = loweredExtension(path);
    const auto* signature = std::ranges::find(signatures, extension, [](const auto& known) { return known.first; });
    if (signature == signatures.end()) {
        return {};
    }
    std::string start(signature->second.size(), '\0');
    std::ifstream(object->file, std::ios::binary).read(start.data(), static_cast<std::streamsize>(start.size()));
    return start == signature->second ? "" : fmt::format("The content is no {} document", extension.substr(1));
}

} // namespace

IngestWorker::IngestWorker(Database& database, ObjectStore& objects, Clock clock, std::chrono::milliseconds delay)
    : database_(database), objects_(objects), clock_(std::move(clock)), delay_(delay) {}

IngestWorker::~IngestWorker() {
    stop();
}

void IngestWorker::start() {
    database_.run("UPDATE jobs SET status = 'queued' WHERE status = 'running'");
    thread_ = std::thread([this] { work(); });
}

void IngestWorker::stop() {
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void IngestWorker::wake() {
    const std::lock_guard lock(mutex_);
    hasWork_ = true;
    changed_.notify_all();
}

void IngestWorker::work() {
    std::unique_lock lock(mutex_);
    while (!isStopping_) {
        changed_.wait(lock, [this] { return hasWork_ || isStopping_; });
        hasWork_ = false;
        lock.unlock();
        try {
            workOff();
        } catch (const std::exception& error) {
            fmt::print(stderr, "The worker stopped until the next job comes: {}\n", error.what());
        }
        lock.lock();
        changed_.notify_all();
    }
}

void IngestWorker::workOff() {
    while (const auto job = take()) {
        if (!pause()) {
            return;
        }
        perform(*job);
    }
}

bool IngestWorker::pause() {
    std::unique_lock lock(mutex_);
    return !changed_.wait_for(lock, delay_, [this] { return isStopping_; });
}

std::optional<IngestWorker::Job> IngestWorker::take() {
    const auto rows = database_.run(
        "UPDATE jobs SET status = 'running', attempts = attempts + 1, updated_at = ? WHERE rowid = "
        "(SELECT rowid FROM jobs WHERE status = 'queued' ORDER BY rowid LIMIT 1) RETURNING id, file_id, kind",
        {timestampOf(clock_())});
    if (rows.empty()) {
        return std::nullopt;
    }
    const Record& row = rows.front();
    return Job{.id = textOf(row[0]), .fileId = textOf(row[1]), .kind = textOf(row[2])};
}

void IngestWorker::perform(const Job& job) {
    database_.inTransaction([&] {
        if (job.kind == "ingest") {
            ingest(job);
        } else if (job.kind == "delete") {
            forget(job);
        } else {
            end(job, fmt::format("There is no job of kind \"{}\"", job.kind));
        }
    });
}

void IngestWorker::ingest(const Job& job) {
    const auto rows = database_.run("SELECT storage_bucket, storage_key, path FROM files WHERE id = ?", {job.fileId});
    if (rows.empty()) {
        return end(job, "The file of this job is gone");
    }
    const Record& row = rows.front();
    const std::string complaint = complaintAbout(objects_.find(textOf(row[0]), textOf(row[1])), textOf(row[2]));
    const std::string now = timestampOf(clock_());
    if (complaint.empty()) {
        database_.run("UPDATE files SET ingested_sha256 = sha256, ingested_at = ?1, ingest_error = NULL, "
                      "updated_at = ?1 WHERE id = ?2",
                      {now, job.fileId});
    } else {
        database_.run("UPDATE files SET ingest_error = ?, updated_at = ? WHERE id = ?", {complaint, now, job.fileId});
    }
    end(job, complaint);
}

// What was ingested is forgotten, so that the same content is ingested anew when the file comes back; a file that came
// back before its "delete" job was reached keeps what it has.
void IngestWorker::forget(const Job& job) {
    database_.run("UPDATE files SET ingested_sha256 = NULL, updated_at = ? WHERE id = ? AND is_deleted = 1",
                  {timestampOf(clock_()), job.fileId});
    end(job, {});
}

void IngestWorker::end(const Job& job, const std::string& error) {
    const Value shown = error.empty() ? Value() : Value(error);
    database_.run("UPDATE jobs SET status = ?, error = ?, updated_at = ? WHERE id = ? AND status = 'running'",
                  {error.empty() ? "done" : "error", shown, timestampOf(clock_()), job.id});
}

bool IngestWorker::isIdle() {
    return database_.run("SELECT 1 FROM jobs WHERE status IN ('queued', 'running') LIMIT 1").empty();
}

bool IngestWorker::settle(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [this] { return isIdle(); });
}

} // namespace local_project
