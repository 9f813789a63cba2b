#include "work/UploadedTree.h"

#include "platform/async/ThreadPool.h"
#include "platform/files/FileAttributes.h"
#include "rules/FileRules.h"
#include "state/AppPaths.h"
#include "state/LocalDatabase.h"
#include "work/Engine.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <stdexcept>

namespace bench {

namespace {

using namespace veskline;

class Rows {
public:
    explicit Rows(const std::string& file) {
        require(sqlite3_open_v2(file.c_str(), &database_, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK);
        require(sqlite3_exec(database_, "begin", nullptr, nullptr, nullptr) == SQLITE_OK);
        sqlite3_prepare_v2(database_, "insert into files values (?1, ?2, ?3, ?4, ?5, ?6, ?7)", -1, &insert_, nullptr);
    }
    ~Rows() {
        sqlite3_finalize(insert_);
        sqlite3_close(database_);
    }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    void add(const FileStateRow& row) const {
        int column = 0;
        for (const std::string* text : {&row.path, &row.rootPath, &row.logicalPath, &row.storageKey, &row.sha256}) {
            sqlite3_bind_text(insert_, ++column, text->c_str(), -1, SQLITE_STATIC);
        }
        sqlite3_bind_int64(insert_, ++column, row.bytes);
        sqlite3_bind_double(insert_, ++column, row.mtimeMilliseconds);
        require(sqlite3_step(insert_) == SQLITE_DONE);
        sqlite3_reset(insert_);
    }
    void commit() const { require(sqlite3_exec(database_, "commit", nullptr, nullptr, nullptr) == SQLITE_OK); }

private:
    void require(bool isDone) const {
        if (!isDone) {
            throw std::runtime_error(sqlite3_errmsg(database_));
        }
    }

    sqlite3* database_ = nullptr;
    sqlite3_stmt* insert_ = nullptr;
};

} // namespace

std::int64_t rememberAsUploaded(const std::string& root) {
    async::ThreadPool pool;
    const LocalDatabase tables(pool.executor());
    const Rows rows(AppPaths::databaseFile());
    platform::PathList files = FileRules::listFiles(root);
    files.sort();
    std::int64_t count = 0;
    for (const std::string_view file : files) {
        FileStateRow row{
            .path = std::string(file), .rootPath = root, .logicalPath = FileRules::logicalPath(file, root)};
        const platform::FileAttributes attributes = platform::readFileAttributes(row.path);
        row.storageKey = FileRules::buildStorageKey(Engine::userID, root, row.logicalPath);
        row.sha256 = fmt::format("{:064x}", count++);
        row.bytes = attributes.bytes;
        row.mtimeMilliseconds = attributes.mtimeMilliseconds;
        rows.add(row);
    }
    rows.commit();
    return count;
}

} // namespace bench
