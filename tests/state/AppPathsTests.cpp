#include "state/AppPaths.h"

#include "Faults.h"
#include "state/LocalDatabase.h"
#include "state/RetryQueueStore.h"
#include "state/SessionStore.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace veskline {
namespace {

using test::EnvironmentVariable;

struct Home {
    TemporaryFolder folder;
    EnvironmentVariable home{"HOME", folder.string()};
    EnvironmentVariable data{"XDG_DATA_HOME", std::nullopt};
    EnvironmentVariable state{"VESK_STATE_DIR", std::nullopt};
};

TEST(AppPaths, FindsTheStateFolderAndMakesItPrivate) {
    const Home home;
    const std::string inHome = home.folder.at(".local/share/VesklineNative");
    const auto stateFolder = [](const std::string& chosen, const std::optional<std::string>& dataHome) {
        const EnvironmentVariable state("VESK_STATE_DIR", chosen);
        const EnvironmentVariable data("XDG_DATA_HOME", dataHome);
        EXPECT_EQ(AppPaths::databaseFile(), AppPaths::stateDirectory() + "/state.sqlite3");
        EXPECT_EQ(AppPaths::sessionFile(), AppPaths::stateDirectory() + "/session.json");
        EXPECT_EQ(AppPaths::retryQueueFile(), AppPaths::stateDirectory() + "/retry-queue.json");
        EXPECT_EQ(test::modeOf(AppPaths::stateDirectory()), 0700U);
        return AppPaths::stateDirectory();
    };
    EXPECT_EQ(stateFolder("", std::nullopt), inHome);
    EXPECT_EQ(stateFolder("", "relative"), inHome);
    EXPECT_EQ(stateFolder("", home.folder.at("data")), home.folder.at("data/VesklineNative"));
    EXPECT_EQ(stateFolder(home.folder.at("a/b/c"), home.folder.at("data")), home.folder.at("a/b/c"));
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(home.folder.path());
    EXPECT_EQ(stateFolder("near/by", std::nullopt), home.folder.at("near/by"));
    std::filesystem::current_path(before);
}

TEST(AppPaths, FindsTheOlderFolderOnlyWhereItIs) {
    const Home home;
    const EnvironmentVariable state("VESK_STATE_DIR", home.folder.at("chosen"));
    EXPECT_EQ(AppPaths::legacySessionFile(), std::nullopt);
    EXPECT_FALSE(home.folder.has(".local"));

    const std::string older = home.folder.makeFolder(".local/share/vesk-desktop/state");
    EXPECT_EQ(AppPaths::legacyDatabaseFile(), older + "/state.db");
    EXPECT_EQ(AppPaths::legacySessionFile(), older + "/session.json");
    EXPECT_EQ(AppPaths::legacyRetryQueueFile(), older + "/retry-queue.json");
}

TEST(AppPaths, LeavesTheStoresToTheSharedFolderWhereTheStateFolderCannotBe) {
    const Home home;
    const std::string blocked = home.folder.write("file", "") + "/state";
    const EnvironmentVariable state("VESK_STATE_DIR", blocked);
    EXPECT_EQ(test::failureOf(&AppPaths::sessionFile),
              "The file \"" + blocked + "\" could not be created as a folder: Not a directory");

    const auto place = [](const StorePlace& one) { return one.path + (one.mustBeOwn ? ", own" : ""); };
    EXPECT_EQ(place(SessionStore::defaultPlace()), "/tmp/vesk-session.json, own");
    EXPECT_EQ(place(RetryQueueStore::defaultPlace("/t")), "/t/vesk-retry-queue.json, own");
    EXPECT_EQ(place(LocalDatabase::defaultPlace("/t")), "/t/vesk-state.sqlite3, own");
}

} // namespace
} // namespace veskline
