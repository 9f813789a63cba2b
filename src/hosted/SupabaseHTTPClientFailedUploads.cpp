#include "hosted/SupabaseDate.h"
#include "hosted/SupabaseHTTPClientRequests.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace veskline {

namespace {

// A row of `jobs`, whichever of these columns were selected.
struct FailedJobRecord {
    std::string id;
    std::optional<std::string> fileID;
    std::optional<std::string> error;
    std::optional<Time> createdAt;
};

FailedJobRecord readRecord(std::type_identity<FailedJobRecord>, const platform::JsonObject& object) {
    return {.id = object.required<std::string>("id"),
            .fileID = object.optional<std::string>("file_id"),
            .error = object.optional<std::string>("error"),
            .createdAt = object.optional<std::string>("created_at").transform(decodeSupabaseDate)};
}

std::vector<std::string> sortedJobIDs(const std::vector<FailedJobRecord>& jobs) {
    std::vector<std::string> ids;
    ids.reserve(jobs.size());
    for (const FailedJobRecord& job : jobs) {
        ids.push_back(job.id);
    }
    std::ranges::sort(ids);
    return ids;
}

// Each once: several jobs may be of one file.
std::vector<std::string> sortedFileIDs(const std::vector<FailedJobRecord>& jobs) {
    std::vector<std::string> ids;
    for (const FailedJobRecord& job : jobs) {
        if (job.fileID) {
            ids.push_back(*job.fileID);
        }
    }
    std::ranges::sort(ids);
    const auto repeated = std::ranges::unique(ids);
    ids.erase(repeated.begin(), repeated.end());
    return ids;
}

std::vector<FailedUploadItem> joined(const std::vector<FailedJobRecord>& jobs,
                                     const std::vector<RemoteFileRecord>& files) {
    std::map<std::string_view, const RemoteFileRecord*> filesByID;
    for (const RemoteFileRecord& file : files) {
        filesByID.emplace(file.id, &file);
    }
    std::vector<FailedUploadItem> items;
    for (const FailedJobRecord& job : jobs) {
        const auto file = job.fileID ? filesByID.find(*job.fileID) : filesByID.end();
        items.push_back({.id = job.id,
                         .fileID = job.fileID,
                         .error = job.error,
                         .createdAt = job.createdAt,
                         .file = file != filesByID.end() ? std::optional(*file->second) : std::nullopt});
    }
    return items;
}

} // namespace

// The values go out as they are, unquoted: they are ids.
std::string SupabaseHTTPClient::inFilter(const std::vector<std::string>& values) {
    return fmt::format("in.({})", fmt::join(values, ","));
}

async::Task<std::vector<FailedUploadItem>> SupabaseHTTPClient::fetchFailedUploads(std::int64_t limit) const {
    const std::int64_t bounded = std::clamp(limit, std::int64_t{1}, std::int64_t{200});
    QueryItems jobsQuery{{"select", "id,file_id,error,created_at"},
                         {"status", "eq.error"},
                         {"kind", "eq.ingest"},
                         {"order", "created_at.desc"},
                         {"limit", std::to_string(bounded)}};
    const auto jobs = co_await getWithSession<std::vector<FailedJobRecord>>("/rest/v1/jobs", std::move(jobsQuery));
    const std::vector<std::string> fileIDs = sortedFileIDs(jobs);
    std::vector<RemoteFileRecord> files;
    if (!fileIDs.empty()) {
        QueryItems filesQuery{{"select", fileColumns}, {"id", inFilter(fileIDs)}};
        files = co_await getWithSession<std::vector<RemoteFileRecord>>("/rest/v1/files", std::move(filesQuery));
    }
    co_return joined(jobs, files);
}

async::Task<std::int64_t> SupabaseHTTPClient::retryFailedUploads() const {
    QueryItems jobsQuery{{"select", "id,file_id"}, {"status", "eq.error"}, {"kind", "eq.ingest"}};
    const auto jobs = co_await getWithSession<std::vector<FailedJobRecord>>("/rest/v1/jobs", std::move(jobsQuery));
    if (jobs.empty()) {
        co_return 0;
    }
    QueryItems ofJobs{{"id", inFilter(sortedJobIDs(jobs))}};
    JSONValue::Object queued{{"status", "queued"}, {"attempts", std::int64_t{0}}, {"error", nullptr}};
    co_await patchWithoutResponse("/rest/v1/jobs", std::move(ofJobs), std::move(queued));

    const std::vector<std::string> fileIDs = sortedFileIDs(jobs);
    if (!fileIDs.empty()) {
        QueryItems ofFiles{{"id", inFilter(fileIDs)}};
        JSONValue::Object cleared{{"ingest_error", nullptr}};
        co_await patchWithoutResponse("/rest/v1/files", std::move(ofFiles), std::move(cleared));
    }
    co_return static_cast<std::int64_t>(jobs.size());
}

} // namespace veskline
