#include "local_project/ObjectStore.h"

#include "local_project/Digest.h"
#include "local_project/Secrets.h"

#include <fstream>
#include <set>
#include <stdexcept>
#include <vector>

#include <fmt/format.h>

namespace local_project {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view pathPrefix = "/storage/v1/object/";
constexpr std::string_view onlyBucket = "files";
constexpr std::size_t writeSize = std::size_t{256} << 10U;

Response stored(const StoredObject& object) {
    return jsonResponse(200, {{"Key", object.bucket + "/" + object.key}, {"Id", randomUuid()}});
}

Response storageRefusal(int status, const std::string& error, const std::string& message) {
    return jsonResponse(status, {{"statusCode", std::to_string(status)}, {"error", error}, {"message", message}});
}

// Writes the body to a file; false where it broke off. Throws where the disk refuses. What is not whole is removed.
bool write(Body& body, const fs::path& file) {
    std::vector<char> buffer(writeSize);
    std::ofstream stream;
    stream.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    stream.open(file, std::ios::binary);
    const bool isWhole = body.forward(
        [&](std::string_view piece) { stream.write(piece.data(), static_cast<std::streamsize>(piece.size())); });
    stream.close();
    const bool isWritten = !stream.fail();
    if (!isWhole || !isWritten) {
        fs::remove(file);
    }
    if (!isWritten) {
        throw std::runtime_error(fmt::format("cannot write {}", file.string()));
    }
    return isWhole;
}

} // namespace

ObjectStore::ObjectStore(Database& database, fs::path folder, Clock clock)
    : database_(database), folder_(std::move(folder)), clock_(std::move(clock)) {
    fs::create_directories(folder_);
    database_.run(
        "CREATE TABLE IF NOT EXISTS objects(bucket TEXT NOT NULL, key TEXT NOT NULL, user_id TEXT NOT NULL, "
        "bytes INTEGER NOT NULL, sha256 TEXT NOT NULL, content_type TEXT NOT NULL, "
        "cache_control TEXT NOT NULL, file TEXT NOT NULL, updated_at TEXT NOT NULL, PRIMARY KEY(bucket, key))");
    removeUnnamedFiles();
}

void ObjectStore::removeUnnamedFiles() {
    std::set<std::string> named;
    for (const Record& row : database_.run("SELECT file FROM objects")) {
        named.insert(textOf(row[0]));
    }
    for (const auto& entry : fs::directory_iterator(folder_)) {
        if (!named.contains(entry.path().filename())) {
            fs::remove(entry.path());
        }
    }
}

Response ObjectStore::answer(const Request& request, const User& user) {
    const std::string rest = request.path.substr(std::min(pathPrefix.size(), request.path.size()));
    const auto slash = rest.find('/');
    if (request.head.method != "POST" || !request.path.starts_with(pathPrefix) || slash == std::string::npos) {
        return storageRefusal(404, "not_found", "objects are stored by POST /storage/v1/object/<bucket>/<key>");
    }
    const std::string bucket = rest.substr(0, slash);
    const std::string key = rest.substr(slash + 1);
    if (auto refused = refusalFor(request, bucket, key, user)) {
        return *refused;
    }
    StoredObject object{.bucket = bucket, .key = key};
    object.file = folder_ / fmt::format("{}.{}", Digest::of(bucket + "/" + key), randomToken(8));
    if (!write(request.body, object.file)) {
        return storageRefusal(400, "incomplete_upload", "the object was not stored: its body broke off");
    }
    object.bytes = request.body.bytes();
    object.sha256 = request.body.digest();
    object.contentType = request.head.header("content-type");
    object.cacheControl = request.head.header("cache-control");
    commit(object, user);
    return stored(object);
}

std::optional<Response> ObjectStore::refusalFor(const Request& request, const std::string& bucket,
                                                const std::string& key, const User& user) {
    if (bucket != onlyBucket) {
        return storageRefusal(404, "Bucket not found", "Bucket not found");
    }
    if (key.empty() || key.ends_with('/')) {
        return storageRefusal(400, "InvalidKey", fmt::format("Invalid key: {}", key));
    }
    if (!key.starts_with(fmt::format("user-{}/", user.id))) {
        return storageRefusal(403, "Unauthorized", "new row violates row-level security policy");
    }
    if (request.head.header("x-upsert") != "true" && find(bucket, key)) {
        return storageRefusal(409, "Duplicate", "The resource already exists");
    }
    return std::nullopt;
}

void ObjectStore::commit(const StoredObject& object, const User& user) {
    const auto previous = database_.inTransaction([&] {
        const auto before = find(object.bucket, object.key);
        database_.run("INSERT OR REPLACE INTO objects(bucket, key, user_id, bytes, sha256, content_type, "
                      "cache_control, file, updated_at) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?)",
                      {object.bucket, object.key, user.id, static_cast<std::int64_t>(object.bytes), object.sha256,
                       object.contentType, object.cacheControl, object.file.filename().string(),
                       timestampOf(clock_())});
        return before;
    });
    if (previous) {
        fs::remove(previous->file);
    }
}

std::optional<StoredObject> ObjectStore::find(const std::string& bucket, const std::string& key) {
    const auto rows = database_.run(
        "SELECT bytes, sha256, content_type, cache_control, file FROM objects WHERE bucket = ? AND key = ?",
        {bucket, key});
    if (rows.empty()) {
        return std::nullopt;
    }
    const Record& row = rows.front();
    return StoredObject{.bucket = bucket,
                        .key = key,
                        .bytes = static_cast<std::uint64_t>(integerOf(row[0])),
                        .sha256 = textOf(row[1]),
                        .contentType = textOf(row[2]),
                        .cacheControl = textOf(row[3]),
                        .file = folder_ / textOf(row[4])};
}

nlohmann::json ObjectStore::state() {
    nlohmann::json objects = nlohmann::json::array();
    for (const Record& row : database_.run("SELECT bucket, key FROM objects ORDER BY bucket, key")) {
        const auto object = find(textOf(row[0]), textOf(row[1]));
        if (object) {
            objects.push_back({{"bucket", object->bucket},
                               {"key", object->key},
                               {"bytes", object->bytes},
                               {"sha256", object->sha256},
                               {"content_type", object->contentType},
                               {"cache_control", object->cacheControl},
                               {"file", object->file.string()}});
        }
    }
    return objects;
}

} // namespace local_project
