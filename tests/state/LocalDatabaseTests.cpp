#include "state/LocalDatabase.h"

#include "DatabaseFile.h"
#include "Faults.h"
#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace veskline {
namespace {

using Rows = std::vector<FileStateRow>;

struct Setting {
    TemporaryFolder folder;
    async::ThreadPool pool{4};
    StorePlace place{.path = folder.at("state.sqlite3")};
    std::unique_ptr<LocalDatabase> database = open();

    std::unique_ptr<LocalDatabase> open() {
        return std::make_unique<LocalDatabase>(pool.executor(), place, folder.at("older.db"));
    }
    std::string failureToOpen() {
        return test::failureOf([&] { open(); });
    }
    Rows rows(const std::string& root) {
        return async::runBlocking(pool.executor(), [&] { return database->rows(root); });
    }
    void upsert(const FileStateRow& row) {
        async::runBlocking(pool.executor(), [&] { return database->upsert(row); });
    }
    void deleteRow(const std::string& path) {
        async::runBlocking(pool.executor(), [&] { return database->deleteRow(path); });
    }
    std::string failureToDelete() {
        return test::failureOf([&] { deleteRow("/r/1"); });
    }
    std::optional<std::string> preference(const std::string& key) {
        return async::runBlocking(pool.executor(), [&] { return database->preference(key); });
    }
    void setPreference(const std::string& value, const std::string& key) {
        async::runBlocking(pool.executor(), [&] { return database->setPreference(value, key); });
    }
    std::string query(const std::string& sql) const { return test::DatabaseFile(place.path).run(sql); }
    void addRows(int count) const {
        query("with recursive n(i) as (select 1 union all select i + 1 from n where i < " + std::to_string(count) +
              ") insert into files select '/r/' || i, '/r', 'l', 'k', hex(zeroblob(32)), i, i from n");
    }
};

FileStateRow row(const std::string& path, const std::string& root = "/r", std::int64_t bytes = 1) {
    return {path, root, "logical é", "user-u/it's", "ab", bytes, 1712345678901.2344 * static_cast<double>(bytes)};
}

TEST(LocalDatabase, StoresRowsByPathAndGivesThemByRoot) {
    Setting setting;
    setting.upsert(row("/r/large", "/r", INT64_MAX));
    setting.upsert(row("/r/a", "/r", 1));
    setting.upsert(row("/r/a", "/q", 2));
    setting.upsert(row("/q/b", "/q"));
    EXPECT_EQ(setting.rows("/r"), Rows{row("/r/large", "/r", INT64_MAX)});
    EXPECT_EQ(setting.rows("/q"), (Rows{row("/r/a", "/q", 2), row("/q/b", "/q")}));
    EXPECT_EQ(async::runBlocking(setting.pool.executor(), [&] { return setting.database->fileRecord("/r/a"); }),
              row("/r/a", "/q", 2));
    EXPECT_EQ(async::runBlocking(setting.pool.executor(), [&] { return setting.database->fileRecord("/r"); }),
              std::nullopt);
    setting.deleteRow("/q/b");
    setting.deleteRow("/never/there");
    EXPECT_EQ(setting.rows("/q"), Rows{row("/r/a", "/q", 2)});
}

TEST(LocalDatabase, HandsRowsOnOneByOneAndSurvivesAVisitorThatThrows) {
    Setting setting;
    setting.upsert(row("/r/a"));
    setting.upsert(row("/r/b"));
    std::string paths;
    const auto visit = [&](const FileStateRowView& one) {
        paths.append(one.path).append(one.sha256);
        if (one.path == "/r/b") {
            throw std::runtime_error("enough");
        }
    };
    EXPECT_EQ(test::failureOf([&] {
                  async::runBlocking(setting.pool.executor(),
                                     [&] { return setting.database->forEachRow("/r", visit); });
              }),
              "enough");
    EXPECT_EQ(paths, "/r/aab/r/bab");
    setting.deleteRow("/r/a");
    EXPECT_EQ(setting.rows("/r"), Rows{row("/r/b")});
}

TEST(LocalDatabase, KeepsItsContentInAPrivateFileOfDefaultSettings) {
    Setting setting;
    setting.upsert(row("/r/a"));
    setting.setPreference("ultra", "pref_mode");
    setting.open();
    EXPECT_EQ(setting.query("select path, mtime_ms = 1712345678901.2344, value from files, preferences"),
              "/r/a 1 ultra ");
    EXPECT_EQ(setting.query("pragma journal_mode; pragma user_version; pragma auto_vacuum"), "delete 0 0 ");
    EXPECT_EQ(setting.query("select name from sqlite_schema where sql is not null order by name"),
              "files idx_files_root_path preferences ");
    EXPECT_EQ(test::modeOf(setting.place.path), 0600U);
}

TEST(LocalDatabase, TakesPreferencesOverFromTheOlderDatabaseOnce) {
    Setting setting;
    const test::DatabaseFile older(setting.folder.at("older.db"));
    older.run("create table preferences(key text primary key, value text);"
              "insert into preferences values ('pref_mode', 'ultra'), ('auto_index', null), ('watched_folders', '[]')");
    EXPECT_EQ(setting.preference("pref_mode"), "ultra");
    older.run("update preferences set value = 'regular' where key = 'pref_mode'");
    EXPECT_EQ(setting.preference("pref_mode"), "ultra");
    EXPECT_EQ(setting.preference("never"), std::nullopt);
    EXPECT_EQ(setting.preference("auto_index"), std::nullopt);
    setting.setPreference("", "watched_folders");
    EXPECT_EQ(setting.preference("watched_folders"), "");
    EXPECT_EQ(setting.query("select key, value from preferences order by key"), "pref_mode ultra watched_folders  ");
}

TEST(LocalDatabase, TakesAnOlderFileWithoutPreferencesForEmpty) {
    Setting setting;
    EXPECT_EQ(setting.preference("pref_mode"), std::nullopt);
    EXPECT_FALSE(setting.folder.has("older.db"));
    for (const std::string& content : {std::string(), std::string(4096, 'x')}) {
        setting.folder.write("older.db", content);
        EXPECT_EQ(setting.preference("pref_mode"), std::nullopt);
        EXPECT_EQ(setting.folder.read("older.db"), content);
    }
    std::filesystem::remove(setting.folder.at("older.db"));
    setting.folder.makeFolder("older.db");
    EXPECT_EQ(test::failureOf([&] { setting.preference("pref_mode"); }), "unable to open database file");
}

const std::string deletion = " [SQL: delete from files where path = ?1;]";

TEST(LocalDatabase, TellsWhyItCannotBeOpened) {
    Setting setting;
    setting.place.path = setting.folder.write("other.sqlite3", std::string(4096, 'x'));
    EXPECT_EQ(setting.failureToOpen(), "file is not a database");
    EXPECT_EQ(setting.folder.read("other.sqlite3"), std::string(4096, 'x'));
    setting.place.path = setting.folder.at("no/such/folder.sqlite3");
    EXPECT_EQ(setting.failureToOpen(), "unable to open database file");
}

// A busy time-out would show as sleeps of SQLite's operating system layer.
TEST(LocalDatabase, FailsAtOnceWhereAnotherProgramHoldsTheLock) {
    static int sleeps = 0;
    sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
    const auto sleep = system->xSleep;
    system->xSleep = [](sqlite3_vfs*, int microseconds) { return ++sleeps, microseconds; };
    Setting setting;
    const test::DatabaseFile other(setting.place.path);
    other.run("begin exclusive");
    EXPECT_EQ(setting.failureToDelete(), "database is locked" + deletion);
    EXPECT_EQ(setting.failureToOpen(), "database is locked");
    other.run("commit");
    EXPECT_EQ(setting.failureToDelete(), "no failure");
    EXPECT_EQ(sleeps, 0);
    system->xSleep = sleep;
}

TEST(LocalDatabase, KeepsItsRowsWhereTheDiskIsFullOrReadOnly) {
    Setting setting;
    setting.addRows(100);
    {
        const test::FileSizeLimit limit(512);
        EXPECT_EQ(setting.failureToDelete(), "disk I/O error" + deletion);
    }
    test::must(::chmod(setting.place.path.c_str(), 0444));
    {
        const test::ReadOnlyFolder readOnly(setting.folder.string());
        EXPECT_EQ(setting.failureToDelete(), "attempt to write a readonly database" + deletion);
    }
    EXPECT_EQ(setting.query("select count(*) from files; pragma integrity_check"), "100 ok ");
}

TEST(LocalDatabase, GivesTheRowsBeforeADamagedPart) {
    Setting setting;
    setting.addRows(5000);
    std::string content = setting.folder.read("state.sqlite3");
    content.replace(content.size() / 2, 100000, 100000, '\xff');
    setting.folder.write("state.sqlite3", content);
    setting.database = setting.open();
    const std::size_t found = setting.rows("/r").size();
    EXPECT_GT(found, 0U);
    EXPECT_LT(found, 5000U);
}

TEST(LocalDatabase, OpensNothingThatAnotherUserPlanted) {
    for (const test::PlantedFile& planted : test::plantedFiles()) {
        for (const char* suffix : {"", "-journal", "-wal"}) {
            Setting setting;
            setting.place.mustBeOwn = true;
            EXPECT_EQ(setting.failureToOpen(), "no failure");
            std::filesystem::remove(setting.place.path + suffix);
            planted.plant(setting.folder.write("elsewhere/target", ""), setting.place.path + suffix);
            EXPECT_EQ(setting.failureToOpen(),
                      "The file \"" + setting.place.path + suffix +
                          "\" could not be used: it is a link or not a file of this user alone")
                << planted.name;
            EXPECT_EQ(setting.folder.read("elsewhere/target"), "") << planted.name;
        }
    }
}

} // namespace
} // namespace veskline
