#include "state/LocalDatabase.h"

#include "state/Stored.h"
#include "support/OtherConnection.h"

#include <gtest/gtest.h>

using namespace veskline;
using veskline::testing::OtherConnection;
using Store = veskline::testing::Stored<LocalDatabase>;
using Rows = std::vector<FileStateRow>;

namespace {

FileStateRow row(const std::string& path, const std::string& root = "/r", std::int64_t bytes = 1) {
    return {path, root, "logical é", "user-u/it's", "ab", bytes, 1712345678901.2344 * static_cast<double>(bytes)};
}

// The values that a query of another program gives, each with a blank behind it.
std::string query(const Store& stored, const char* sql) {
    sqlite3* connection = nullptr;
    sqlite3_open(stored.place.path.c_str(), &connection);
    std::string result;
    const auto add = [](void* text, int count, char** values, char**) {
        for (int column = 0; column < count; ++column) {
            static_cast<std::string*>(text)->append(values[column]).append(" ");
        }
        return 0;
    };
    sqlite3_exec(connection, sql, add, &result, nullptr);
    sqlite3_close(connection);
    return result;
}

const std::string deletion = " [SQL: delete from files where path = ?1;]";

} // namespace

TEST(LocalDatabase, StoresRowsByPathAndGivesThemByRoot) {
    Store stored;
    for (const FileStateRow& each : {row("/r/large", "/r", INT64_MAX), row("/r/a", "/r", 1), row("/r/a", "/q", 2),
                                     row("/q/b", "/q"), row("/q/c", "/q")}) {
        stored.run(&LocalDatabase::upsert, each);
    }
    stored.run(&LocalDatabase::deleteRow, "/q/c");
    stored.run(&LocalDatabase::deleteRow, "/never/there");
    EXPECT_EQ(stored.run(&LocalDatabase::rows, "/r"), Rows{row("/r/large", "/r", INT64_MAX)});
    EXPECT_EQ(stored.run(&LocalDatabase::rows, "/q"), (Rows{row("/r/a", "/q", 2), row("/q/b", "/q")}));
    EXPECT_EQ(stored.run(&LocalDatabase::fileRecord, "/r/a"), row("/r/a", "/q", 2));
    EXPECT_EQ(stored.run(&LocalDatabase::fileRecord, "/r"), std::nullopt);
}

TEST(LocalDatabase, KeepsItsContentInAPrivateFileOfDefaultSettings) {
    Store stored;
    stored.run(&LocalDatabase::upsert, row("/r/a"));
    stored.run(&LocalDatabase::setPreference, "ultra", "pref_mode");
    stored.open();
    EXPECT_EQ(query(stored, "select path, mtime_ms = 1712345678901.2344, value from files, preferences"),
              "/r/a 1 ultra ");
    EXPECT_EQ(query(stored, "pragma journal_mode; pragma user_version; pragma auto_vacuum"), "delete 0 0 ");
    EXPECT_EQ(query(stored, "select name from sqlite_schema where sql is not null order by name"),
              "files idx_files_root_path preferences ");
    EXPECT_EQ(std::filesystem::status(stored.place.path).permissions(), std::filesystem::perms(0600));
}

TEST(LocalDatabase, TakesPreferencesOverFromTheOlderDatabaseOnce) {
    Store stored;
    const auto preference = [&](const char* key) { return stored.run(&LocalDatabase::preference, key); };
    EXPECT_EQ(preference("pref_mode"), std::nullopt);
    EXPECT_FALSE(stored.folder.has("older")) << "to look for it does not make it";
    stored.folder.write("older", std::string(4096, 'x'));
    EXPECT_EQ(preference("pref_mode"), std::nullopt) << "no database";
    std::filesystem::remove(stored.folder.at("older"));
    OtherConnection older(stored.folder.at("older"));
    older.run("create table preferences(key text primary key, value text);"
              "insert into preferences values ('pref_mode', 'ultra'), ('auto_index', null), ('watched_folders', '[]')");
    EXPECT_EQ(preference("pref_mode"), "ultra");
    older.run("update preferences set value = 'regular' where key = 'pref_mode'");
    EXPECT_EQ(preference("pref_mode"), "ultra");
    EXPECT_EQ(preference("never"), std::nullopt);
    EXPECT_EQ(preference("auto_index"), std::nullopt);
    stored.run(&LocalDatabase::setPreference, "", "watched_folders");
    EXPECT_EQ(preference("watched_folders"), "");
    EXPECT_EQ(query(stored, "select key, value from preferences order by key"), "pref_mode ultra watched_folders  ");
}

// A busy time-out would show as sleeps of SQLite's operating system layer.
TEST(LocalDatabase, FailsAtOnceWhereAnotherProgramHoldsTheLock) {
    static int sleeps = 0;
    sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
    const auto sleep = system->xSleep;
    system->xSleep = [](sqlite3_vfs*, int microseconds) { return ++sleeps, microseconds; };
    Store stored;
    {
        OtherConnection other(stored.place.path);
        other.lock();
        EXPECT_EQ(stored.failureOf(&LocalDatabase::deleteRow, "/r/1"), "database is locked" + deletion);
        EXPECT_EQ(stored.failureToOpen(), "database is locked");
    }
    EXPECT_EQ(stored.failureOf(&LocalDatabase::deleteRow, "/r/1"), "no failure");
    EXPECT_EQ(sleeps, 0);
    system->xSleep = sleep;
}

TEST(LocalDatabase, OpensNothingThatAnotherUserPlanted) {
    for (const std::string suffix : {"", "-journal", "-wal"}) {
        Store stored{.mustBeOwn = true};
        const std::string target = stored.folder.write("elsewhere/target", "");
        std::filesystem::remove(stored.place.path + suffix);
        std::filesystem::create_symlink(target, stored.place.path + suffix);
        EXPECT_EQ(stored.failureToOpen(), "The file \"" + stored.place.path + suffix +
                                              "\" could not be used: it is a link or not a file of this user alone");
        EXPECT_EQ(stored.folder.read("elsewhere/target"), "");
    }
}
