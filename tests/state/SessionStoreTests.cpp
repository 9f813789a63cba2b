#include "state/SessionStore.h"

#include "state/Stored.h"
#include "support/Unprivileged.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

using namespace veskline;
using veskline::testing::Unprivileged;
using Store = veskline::testing::Stored<SessionStore>;

namespace {

const StoredSession ann{.accessToken = "a", .refreshToken = "r", .user = StoredUser{.id = "u", .email = "ann@x.test"}};
const StoredSession anonymous{.accessToken = "a", .refreshToken = "r"};
const std::string anonymousText = "{\n  \"access_token\": \"a\",\n  \"refresh_token\": \"r\"\n}";

} // namespace

TEST(SessionStore, GivesBackWhatWasSavedFromAPrivateFile) {
    Store stored;
    stored.run(&SessionStore::save, ann);
    EXPECT_EQ(stored.folder.read("own"), "{\n  \"access_token\": \"a\",\n  \"refresh_token\": \"r\",\n"
                                         "  \"user\": {\n    \"email\": \"ann@x.test\",\n    \"id\": \"u\"\n  }\n}");
    EXPECT_EQ(stored.run(&SessionStore::load), ann);
    stored.run(&SessionStore::save, anonymous);
    EXPECT_EQ(stored.folder.read("own"), anonymousText);
    EXPECT_EQ(std::filesystem::status(stored.place.path).permissions(), std::filesystem::perms(0600));
}

TEST(SessionStore, ReadsTheOlderSessionOnlyWhereItsOwnCannotBeRead) {
    const std::string noUserID = R"({"access_token":"a","refresh_token":"r","user":{}})";
    struct Row {
        std::string own, older;
        std::optional<StoredSession> loaded;
        std::string ownAfterwards;
    };
    for (const auto& [own, older, loaded, ownAfterwards] : {Row{"nothing", "nothing", {}, ""},
                                                            {"nothing", anonymousText, anonymous, anonymousText},
                                                            {"nothing", noUserID, {}, ""},
                                                            {noUserID, anonymousText, {}, noUserID},
                                                            {"", anonymousText, {}, ""},
                                                            {"a folder", anonymousText, anonymous, ""}}) {
        Store stored;
        stored.put("own", own);
        stored.put("older", older);
        EXPECT_EQ(stored.run(&SessionStore::load), loaded) << own << " before " << older;
        EXPECT_EQ(stored.folder.read("own"), ownAfterwards) << own << " before " << older;
        EXPECT_EQ(stored.folder.read("older"), older == "nothing" ? "" : older);
    }
}

TEST(SessionStore, KeepsOldFileWhenWriteFails) {
    Store stored;
    stored.run(&SessionStore::save, anonymous);
    {
        const Unprivileged user(stored.folder.path());
        ::chmod(stored.folder.string().c_str(), 0555);
        EXPECT_EQ(stored.failureOf(&SessionStore::save, ann),
                  "The file \"" + stored.place.path + "\" could not be written: Permission denied");
        ::chmod(stored.folder.string().c_str(), 0700);
    }
    EXPECT_EQ(stored.failureOf(&SessionStore::save, {.accessToken = "\xff", .refreshToken = "r"}),
              "The value of \"access_token\" cannot be written as JSON: it is not valid UTF-8");
    EXPECT_EQ(stored.folder.read("own"), anonymousText);
    EXPECT_FALSE(stored.folder.has(".own.tmp"));
}

TEST(SessionStore, SeesEveryChangeOfItsFile) {
    Store stored;
    const std::string other = R"({"access_token":"b","refresh_token":"r"})";
    stored.folder.write("own", R"({"access_token":"a","refresh_token":"r"})");
    std::this_thread::sleep_for(std::chrono::milliseconds(150)); // by then it need not be read again
    EXPECT_EQ(stored.run(&SessionStore::load), anonymous);
    stored.folder.write("own", other); // in its place, and of one length
    EXPECT_EQ(stored.run(&SessionStore::load)->accessToken, "b");
    EXPECT_EQ(stored.run(&SessionStore::load)->accessToken, "b");
    stored.folder.write("new", R"({"access_token":"c","refresh_token":"r"})");
    std::filesystem::rename(stored.folder.at("new"), stored.place.path);
    EXPECT_EQ(stored.run(&SessionStore::load)->accessToken, "c");
    std::filesystem::remove(stored.place.path);
    EXPECT_EQ(stored.run(&SessionStore::load), std::nullopt);
}

TEST(SessionStore, SignsOutWhateverLiesThere) {
    Store stored;
    stored.run(&SessionStore::save, ann);
    stored.run(&SessionStore::clear);
    EXPECT_FALSE(stored.folder.has("own"));
    stored.folder.write("older", anonymousText);
    stored.run(&SessionStore::clear);
    EXPECT_EQ(stored.run(&SessionStore::load), std::nullopt);
    EXPECT_EQ(stored.folder.read("older"), anonymousText);
}

TEST(SessionStore, RemovesWhatACrashLeftBehind) {
    Store stored;
    stored.folder.write(".own.tmp", "{\"access");
    stored.open();
    EXPECT_FALSE(stored.folder.has(".own.tmp"));
}

TEST(SessionStore, TakesNothingThatAnotherUserPlanted) {
    using Plant = void (*)(const std::filesystem::path& target, const std::filesystem::path& place);
    std::vector<Plant> plants{[](auto& target, auto& place) { std::filesystem::create_symlink(target, place); },
                              [](auto& target, auto& place) { std::filesystem::create_hard_link(target, place); }};
    if (::geteuid() == 0) { // who else can give a file away?
        plants.push_back([](auto& target, auto& place) {
            std::filesystem::copy_file(target, place);
            ASSERT_EQ(::chown(place.c_str(), 65534, 65534), 0);
        });
    }
    for (const Plant plant : plants) {
        Store stored{.mustBeOwn = true};
        const std::string target = stored.folder.write("elsewhere/target", anonymousText);
        plant(target, stored.place.path);
        EXPECT_EQ(stored.run(&SessionStore::load), std::nullopt);
        EXPECT_EQ(stored.failureOf(&SessionStore::save, ann),
                  "The file \"" + stored.place.path +
                      "\" could not be used: it is a link or not a file of this user alone");
        stored.run(&SessionStore::clear);
        plant(target, stored.folder.at(".own.tmp"));
        stored.run(&SessionStore::save, ann);
        EXPECT_EQ(stored.run(&SessionStore::load), ann);
        EXPECT_EQ(stored.folder.read("elsewhere/target"), anonymousText);
    }
}

// As in /tmp, where nobody can remove what another user made.
TEST(SessionStore, WritesIntoNothingThatItCannotRemove) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "two users are needed: run as root";
    }
    Store stored{.mustBeOwn = true};
    ::chmod(stored.folder.write(".own.tmp", "").c_str(), 0666);
    ::chmod(stored.folder.string().c_str(), 01777);
    const TemporaryFolder ofTheUser;
    const Unprivileged user(ofTheUser.path());
    EXPECT_EQ(stored.failureOf(&SessionStore::save, ann),
              "The file \"" + stored.place.path + "\" could not be written: File exists");
    EXPECT_EQ(stored.folder.read(".own.tmp"), "");
}
