#include "state/SessionStore.h"

#include "Faults.h"
#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace veskline {
namespace {

struct Setting {
    bool mustBeOwn = false;
    TemporaryFolder folder;
    async::ThreadPool pool{4};
    std::string path = folder.at("session.json");
    SessionStore store{pool.executor(), {.path = path, .mustBeOwn = mustBeOwn}, folder.at("older/session.json")};

    std::optional<StoredSession> load() {
        return async::runBlocking(pool.executor(), [&] { return store.load(); });
    }
    void save(const StoredSession& session) {
        async::runBlocking(pool.executor(), [&] { return store.save(session); });
    }
    void clear() {
        async::runBlocking(pool.executor(), [&] { return store.clear(); });
    }
};

const StoredSession ann{.accessToken = "a", .refreshToken = "r", .user = StoredUser{.id = "u", .email = "ann@x.test"}};
const StoredSession anonymous{.accessToken = "a", .refreshToken = "r"};
const std::string anonymousText = "{\n  \"access_token\": \"a\",\n  \"refresh_token\": \"r\"\n}";

TEST(SessionStore, GivesBackWhatWasSavedFromAPrivateFile) {
    Setting setting;
    setting.save(ann);
    EXPECT_EQ(setting.load(), ann);
    setting.save(anonymous);
    EXPECT_EQ(setting.load(), anonymous);
    EXPECT_EQ(setting.folder.read("session.json"), anonymousText);
    EXPECT_EQ(test::modeOf(setting.path), 0600U);
}

TEST(SessionStore, ReadsTheOlderSessionOnlyWhereItsOwnCannotBeRead) {
    const std::string noUserID = R"({"access_token":"a","refresh_token":"r","user":{}})";
    struct Case {
        const char* name;
        std::string own;
        std::string older;
        std::optional<StoredSession> loaded;
        std::string ownAfterwards;
    };
    const Case cases[] = {
        {"nothing", "none", "none", {}, ""},
        {"only the older", "none", anonymousText, anonymous, anonymousText},
        {"only an invalid older", "none", noUserID, {}, ""},
        {"an invalid one hides the older", noUserID, anonymousText, {}, noUserID},
        {"an empty one hides the older", "", anonymousText, {}, ""},
        {"a folder in its place", "folder", anonymousText, anonymous, ""},
    };
    for (const Case& one : cases) {
        Setting setting;
        if (one.own != "none") {
            one.own == "folder" ? setting.folder.makeFolder("session.json")
                                : setting.folder.write("session.json", one.own);
        }
        if (one.older != "none") {
            setting.folder.write("older/session.json", one.older);
        }
        EXPECT_EQ(setting.load(), one.loaded) << one.name;
        EXPECT_EQ(setting.folder.read("session.json"), one.ownAfterwards) << one.name;
        EXPECT_EQ(setting.folder.read("older/session.json"), one.older == "none" ? "" : one.older) << one.name;
    }
}

TEST(SessionStore, KeepsOldFileWhenWriteFails) {
    Setting setting;
    setting.save(anonymous);
    const std::string words = "The file \"" + setting.path + "\" could not be written: ";
    const auto saveWith = [&](const auto& fault) {
        (void)fault;
        return test::failureOf([&] { setting.save(ann); });
    };
    EXPECT_EQ(saveWith(test::FileSizeLimit(16)), words + "File too large");
    EXPECT_EQ(saveWith(test::ReadOnlyFolder(setting.folder.string())), words + "Permission denied");
    EXPECT_EQ(test::failureOf([&] { setting.save({.accessToken = "\xff", .refreshToken = "r"}); }),
              "The value of \"access_token\" cannot be written as JSON: it is not valid UTF-8");
    EXPECT_EQ(setting.folder.read("session.json"), anonymousText);
    EXPECT_FALSE(setting.folder.has(".session.json.tmp"));
}

TEST(SessionStore, SignsOutWhateverLiesThere) {
    Setting setting;
    setting.clear();
    setting.save(ann);
    setting.clear();
    EXPECT_FALSE(setting.folder.has("session.json"));

    setting.folder.write("older/session.json", anonymousText);
    setting.clear();
    EXPECT_EQ(setting.load(), std::nullopt);
    setting.save(ann);
    EXPECT_EQ(setting.load(), ann);
    setting.clear();
    EXPECT_EQ(setting.load(), std::nullopt);
    EXPECT_EQ(setting.folder.read("older/session.json"), anonymousText);
}

TEST(SessionStore, RemovesWhatACrashLeftBehind) {
    Setting setting;
    setting.folder.write(".session.json.tmp", "{\"access");
    const SessionStore next(setting.pool.executor(), {.path = setting.path}, std::nullopt);
    EXPECT_FALSE(setting.folder.has(".session.json.tmp"));
}

TEST(SessionStore, TakesNothingThatAnotherUserPlanted) {
    for (const test::PlantedFile& planted : test::plantedFiles()) {
        Setting setting{.mustBeOwn = true};
        const std::string target = setting.folder.write("elsewhere/target", anonymousText);
        planted.plant(target, setting.path);
        EXPECT_EQ(setting.load(), std::nullopt) << planted.name;
        EXPECT_EQ(test::failureOf([&] { setting.save(ann); }),
                  "The file \"" + setting.path + "\" could not be used: it is a link or not a file of this user alone")
            << planted.name;

        setting.clear();
        planted.plant(target, setting.folder.at(".session.json.tmp"));
        setting.save(ann);
        EXPECT_EQ(setting.load(), ann) << planted.name;
        EXPECT_EQ(setting.folder.read("elsewhere/target"), anonymousText) << planted.name;
    }
}

// As in /tmp, where nobody can remove what another user made.
TEST(SessionStore, WritesIntoNothingThatItCannotRemove) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "two users are needed: run as root";
    }
    Setting setting{.mustBeOwn = true};
    const std::string planted = setting.folder.write(".session.json.tmp", "");
    test::must(::chmod(planted.c_str(), 0666));
    test::must(::chmod(setting.folder.string().c_str(), 01777));
    const test::Unprivileged asNobody;
    EXPECT_EQ(test::failureOf([&] { setting.save(ann); }),
              "The file \"" + setting.path + "\" could not be written: File exists");
    EXPECT_EQ(setting.folder.read(".session.json.tmp"), "");
}

} // namespace
} // namespace veskline
