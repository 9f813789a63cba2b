#include "floors/Floors.h"
#include "floors/FoundFiles.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>

namespace floors {

namespace {

double milliseconds(const timespec& time) {
    return (static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9) * 1000.0;
}

struct Attributes {
    std::int64_t bytes = 0;
    double mtimeMilliseconds = 0;
};

// Read after the sort, by the path of each file, as late as whoever works on the files one by one does.
std::vector<Attributes> readAttributes(const std::vector<FoundFile>& files) {
    std::vector<Attributes> attributes(files.size());
    for (std::size_t at = 0; at < files.size(); ++at) {
        struct stat found{};
        if (lstat(files[at].path, &found) == 0) {
            attributes[at] = {.bytes = found.st_size, .mtimeMilliseconds = milliseconds(found.st_mtim)};
        }
    }
    return attributes;
}

std::string_view text(sqlite3_stmt* row, int column) {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
    return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(row, column))};
}

// Rows stream past and nothing of them is kept. They mostly come in the order of the paths, so that the next file is
// mostly the one.
std::int64_t countUnchanged(const std::vector<FoundFile>& files, const std::vector<Attributes>& attributes,
                            sqlite3_stmt* rows) {
    std::int64_t unchanged = 0;
    std::size_t next = 0;
    const auto isNext = [&](std::string_view path) { return next < files.size() && files[next].text() == path; };
    while (sqlite3_step(rows) == SQLITE_ROW) {
        const std::string_view path = text(rows, 0);
        if (!isNext(path)) {
            next =
                static_cast<std::size_t>(std::ranges::lower_bound(files, path, {}, &FoundFile::text) - files.begin());
        }
        if (!isNext(path)) {
            continue;
        }
        const Attributes& found = attributes[next++];
        if (found.bytes == sqlite3_column_int64(rows, 5) && found.mtimeMilliseconds == sqlite3_column_double(rows, 6)) {
            ++unchanged;
        }
    }
    return unchanged;
}

} // namespace

bench::Sample rescan(Arguments arguments) {
    sqlite3* database = nullptr;
    sqlite3_open_v2((arguments[1] + "/state.sqlite3").c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX,
                    nullptr);
    const bench::Stopwatch stopwatch;
    FoundFiles found(arguments[0]);
    std::ranges::sort(found.files, {}, &FoundFile::text);
    const std::vector<Attributes> attributes = readAttributes(found.files);
    sqlite3_stmt* rows = nullptr;
    sqlite3_prepare_v2(database,
                       "select path, root_path, logical_path, storage_key, sha256, bytes, mtime_ms from files "
                       "where root_path = ?1;",
                       -1, &rows, nullptr);
    sqlite3_bind_text(rows, 1, arguments[0].c_str(), -1, SQLITE_STATIC);
    const std::int64_t unchanged = countUnchanged(found.files, attributes, rows);
    sqlite3_finalize(rows);
    const bench::Sample sample = stopwatch.stop(unchanged);
    sqlite3_close(database);
    return sample;
}

} // namespace floors
