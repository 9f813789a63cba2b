#include "state/AppPaths.h"

#include "state/EnvironmentVariable.h"
#include "state/LocalDatabase.h"
#include "state/RetryQueueStore.h"
#include "state/SessionStore.h"
#include "state/Stored.h"

#include <gtest/gtest.h>

using namespace veskline;
using veskline::testing::EnvironmentVariable;

namespace {

class AppPathsTest : public ::testing::Test {
protected:
    TemporaryFolder folder;
    EnvironmentVariable home{"HOME", folder.string()};
    EnvironmentVariable data{"XDG_DATA_HOME", std::nullopt};
    EnvironmentVariable state{"VESK_STATE_DIR", std::nullopt};
};

} // namespace

TEST_F(AppPathsTest, FindsTheStateFolderAndMakesItPrivate) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    struct Row {
        std::string chosen, dataHome, found;
    };
    for (const auto& [chosen, dataHome, found] : {Row{"", "", ".local/share/VesklineNative"},
                                                  {"", "relative", ".local/share/VesklineNative"},
                                                  {"", folder.at("data"), "data/VesklineNative"},
                                                  {folder.at("a/b/c"), folder.at("data"), "a/b/c"},
                                                  {"near/by", "", "near/by"}}) {
        const EnvironmentVariable stateFolder("VESK_STATE_DIR", chosen);
        const EnvironmentVariable dataFolder("XDG_DATA_HOME", dataHome);
        EXPECT_EQ(AppPaths::databaseFile(), folder.at(found + "/state.sqlite3"));
        EXPECT_EQ(AppPaths::sessionFile(), folder.at(found + "/session.json"));
        EXPECT_EQ(AppPaths::retryQueueFile(), folder.at(found + "/retry-queue.json"));
        EXPECT_EQ(std::filesystem::status(folder.at(found)).permissions(), std::filesystem::perms(0700));
    }
    std::filesystem::current_path(before);
}

TEST_F(AppPathsTest, FindsTheOlderFolderOnlyWhereItIs) {
    EXPECT_EQ(AppPaths::legacySessionFile(), std::nullopt);
    const std::string older = folder.makeFolder(".local/share/vesk-desktop/state");
    EXPECT_EQ(AppPaths::legacyDatabaseFile(), older + "/state.db");
    EXPECT_EQ(AppPaths::legacySessionFile(), older + "/session.json");
    EXPECT_EQ(AppPaths::legacyRetryQueueFile(), older + "/retry-queue.json");
}

TEST_F(AppPathsTest, LeavesTheStoresToTheSharedFolderWhereTheStateFolderCannotBe) {
    const std::string blocked = folder.write("file", "") + "/state";
    const EnvironmentVariable stateFolder("VESK_STATE_DIR", blocked);
    EXPECT_EQ(veskline::testing::failureOf(&AppPaths::sessionFile),
              "The file \"" + blocked + "\" could not be created as a folder: Not a directory");
    const auto shown = [](const StorePlace& place) { return place.path + (place.mustBeOwn ? ", own" : ""); };
    EXPECT_EQ(shown(SessionStore::defaultPlace()), "/tmp/vesk-session.json, own");
    EXPECT_EQ(shown(RetryQueueStore::defaultPlace("/t")), "/t/vesk-retry-queue.json, own");
    EXPECT_EQ(shown(LocalDatabase::defaultPlace("/t")), "/t/vesk-state.sqlite3, own");
}
