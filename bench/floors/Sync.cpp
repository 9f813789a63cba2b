#include "floors/Digest.h"
#include "floors/Floors.h"
#include "floors/KeptConnection.h"

#include <dirent.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace floors {

namespace {

constexpr const char* fileRow =
    R"({"user_id":"8c1f2d3e-5b7a-4e21-9a3c-1234567890ab","path":"a/b/c.txt","storage_bucket":"files",)"
    R"("storage_key":"user-x/root-y/c-00000000.txt","bytes":4096,"mime":"text/plain",)"
    R"("sha256":"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855","is_deleted":false,)"
    R"("ingest_error":null})";
constexpr const char* jobRow =
    R"({"user_id":"8c1f2d3e-5b7a-4e21-9a3c-1234567890ab","file_id":"0b1f","kind":"ingest","payload":{}})";

// The state database of the agent, each row a commit of its own in the default journal.
class State {
public:
    explicit State(const std::string& folder) {
        sqlite3_open_v2((folder + "/state.sqlite3").c_str(), &database_,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
        sqlite3_exec(
            database_,
            "create table files(path text primary key, root_path text not null, logical_path text not null,"
            " storage_key text not null, sha256 text not null, bytes integer not null, mtime_ms real not null);"
            "create index idx_files_root_path on files(root_path);",
            nullptr, nullptr, nullptr);
    }
    ~State() { sqlite3_close(database_); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void commit(const std::string& path, const std::string& digest, const struct stat& found) {
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(database_,
                           "insert into files values (?1, '/r', ?1, ?1, ?2, ?3, ?4) on conflict(path) do update set "
                           "sha256 = excluded.sha256, bytes = excluded.bytes, mtime_ms = excluded.mtime_ms;",
                           -1, &insert, nullptr);
        sqlite3_bind_text(insert, 1, path.c_str(), -1, SQLITE_STATIC);
        sqlite3_bind_text(insert, 2, digest.c_str(), -1, SQLITE_STATIC);
        sqlite3_bind_int64(insert, 3, found.st_size);
        sqlite3_bind_double(insert, 4, static_cast<double>(found.st_mtim.tv_sec) * 1000.0);
        sqlite3_step(insert);
        sqlite3_finalize(insert);
    }

private:
    sqlite3* database_ = nullptr;
};

// The five requests that a new file takes.
void send(KeptConnection& connection, int file, std::int64_t bytes) {
    connection.post("/storage/v1/object/files/user-x/root-y/c-00000000.txt", file, bytes);
    connection.get("/auth/v1/user");
    connection.post("/rest/v1/files?on_conflict=user_id,storage_bucket,storage_key&select=id,user_id", fileRow);
    connection.get("/auth/v1/user");
    connection.post("/rest/v1/jobs", jobRow);
}

} // namespace

bench::Sample sync(Arguments arguments) {
    KeptConnection connection(arguments[0]);
    Digest digest;
    State state(arguments[2]);
    const bench::Stopwatch stopwatch;
    std::int64_t files = 0;
    connection.get("/auth/v1/user");
    DIR* folder = opendir(arguments[1].c_str());
    while (const dirent* entry = readdir(folder)) {
        if (entry->d_name[0] == '.') {
            continue;
        }
        const std::string path = arguments[1] + "/" + entry->d_name;
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat found{};
        fstat(file, &found);
        const std::string text = digest.hexadecimal(file);
        lseek(file, 0, SEEK_SET);
        send(connection, file, found.st_size);
        close(file);
        state.commit(path, text, found);
        ++files;
    }
    closedir(folder);
    return stopwatch.stop(files);
}

} // namespace floors
