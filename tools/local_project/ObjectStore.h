#pragma once

#include "local_project/Accounts.h"
#include "local_project/Database.h"
#include "local_project/Exchange.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace local_project {

struct StoredObject {
    std::string bucket;
    std::string key;
    std::uint64_t bytes = 0;
    std::string sha256;
    std::string contentType;
    std::string cacheControl;
    std::filesystem::path file;
};

// The storage service. Each version of an object is a file of its own, objects/<SHA-256 of "bucket/key">.<version>,
// and the row that names the current one is written last: a cut upload or a kill leaves the older object whole. May be
// used from any thread.
class ObjectStore {
public:
    // Keeps its files in `folder`; removes there what no row names, the rests of a run that was killed.
    ObjectStore(Database& database, std::filesystem::path folder, Clock clock);

    // Answers POST /storage/v1/object/<bucket>/<key>, the body going to the disk as it comes in. There is one bucket,
    // `files`, and each user writes below the folder user-<id> alone.
    [[nodiscard]] Response answer(const Request& request, const User& user);

    [[nodiscard]] std::optional<StoredObject> find(const std::string& bucket, const std::string& key);

    [[nodiscard]] nlohmann::json state();

private:
    [[nodiscard]] std::optional<Response> refusalFor(const Request& request, const std::string& bucket,
                                                     const std::string& key, const User& user);
    void commit(const StoredObject& object, const User& user);
    void removeUnnamedFiles();

    Database& database_;
    std::filesystem::path folder_;
    Clock clock_;
};

} // namespace local_project
