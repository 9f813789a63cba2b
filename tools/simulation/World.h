#pragma once

#include "hosted/SupabaseHTTPClient.h"
#include "platform/async/SerialExecutor.h"
#include "platform/async/Spawn.h"
#include "simulation/InProcessProject.h"
#include "simulation/Ledger.h"
#include "simulation/LogOrder.h"
#include "simulation/OneThread.h"
#include "simulation/QueueWatch.h"
#include "simulation/Script.h"
#include "simulation/StateReader.h"
#include "simulation/Tap.h"
#include "simulation/Trace.h"
#include "simulation/Tree.h"
#include "simulation/WireFaults.h"
#include "state/LocalDatabase.h"
#include "state/RetryQueueStore.h"
#include "state/SessionStore.h"
#include "support/TemporaryFolder.h"
#include "support/Unprivileged.h"
#include "sync/SyncCoordinator.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace veskline::simulation {

// One run: the real engine with its real stores and the real client, on one thread over a clock that moves by hand,
// with a hosted side in the same process, a folder of the user's on the disk, and a script of what happens to them.
// Between any two jobs of the thread the stores are looked at, and the script may do something.
class World {
public:
    static constexpr std::int64_t maxUploadBytes = 400;

    World(const Script& script, Trace& trace, Findings& findings);
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    // The script, then everything comes to rest and is well again, then one more start to its end.
    void run();

    [[nodiscard]] const testing::InProcessProject& project() const noexcept { return project_; }
    [[nodiscard]] const Tree& tree() const noexcept { return tree_; }
    [[nodiscard]] const Ledger& ledger() const noexcept { return ledger_; }
    [[nodiscard]] const QueueWatch& queue() const noexcept { return queueWatch_; }
    [[nodiscard]] std::string databaseIntegrity() { return reader_.integrity(); }

private:
    void nameInTrace();
    bool step();
    void settle();
    void perform(const Operation& operation);
    void performOnEngine(const Operation& operation);
    void performOnSurroundings(const Operation& operation);
    void comeToRest();
    void startForTheLastTime();

    void begin(async::Task<> (World::*body)(std::uint32_t), std::uint32_t number = 0);
    async::Task<> start(std::uint32_t speed);
    async::Task<> stop(std::uint32_t);
    async::Task<> signOut(std::uint32_t);
    async::Task<> signIn(std::uint32_t user);
    void report(std::uint32_t root);
    void ingest();
    void freeze(const std::string& folder, const char* kind);

    void readLine(const std::string& line);
    void readFailedUpload(const std::string& line);
    void drainMayHaveEnded();
    void lookAtStores();
    [[nodiscard]] SyncCoordinator::EventStream watch(std::function<void(std::vector<std::string>)> onPathsChanged);

    const Script& script_;
    Trace& trace_;
    Findings& findings_;
    TemporaryFolder folder_;
    testing::Unprivileged user_{folder_.path()}; // so that permissions count
    Tree tree_{folder_, script_.layout};
    testing::OneThread thread_{script_.seed};
    Tap databaseTap_{thread_.executor()};
    Tap queueTap_{thread_.executor()};
    Tap sessionTap_{thread_.executor()};
    async::SerialExecutor main_{thread_.executor()};

    testing::InProcessProject project_{thread_.executor()};
    WireFaults wireFaults_{findings_};
    Ledger ledger_{project_, findings_};
    QueueWatch queueWatch_{findings_};
    LogOrder logOrder_{tree_.roots(), findings_};

    const std::string databaseFolder_ = folder_.makeFolder("state-database");
    const std::string queueFolder_ = folder_.makeFolder("state-queue");
    const std::string sessionFolder_ = folder_.makeFolder("state-session");
    SessionStore sessionStore_{sessionTap_.executor(), StorePlace{sessionFolder_ + "/session.json"}, std::nullopt};
    LocalDatabase database_{databaseTap_.executor(), StorePlace{databaseFolder_ + "/state.sqlite3"}, std::nullopt};
    RetryQueueStore retryQueue_{queueTap_.executor(), StorePlace{queueFolder_ + "/retry-queue.json"}, std::nullopt};
    StateReader reader_{databaseFolder_ + "/state.sqlite3"};
    PublicConfig config_{.supabaseURL = "https://project.example",
                         .supabaseAnonKey = "public-key",
                         .dashboardURL = "https://dashboard.example",
                         .maxUploadBytes = maxUploadBytes};
    SupabaseHTTPClient client_{config_, sessionStore_, project_.transport(), thread_.executor()};
    SyncCoordinator coordinator_;

    std::vector<async::TaskHandle> tasks_;
    std::function<void(std::vector<std::string>)> onPathsChanged_;
    int streams_ = 0;
    int startsUnderWay_ = 0;
    bool isPastDrain_ = true;   // the latest start
    bool hasSession_ = false;   // in the session file
    bool lacksSession_ = false; // at some time of a scan under way: a file may then fail for want of a user, unqueued
    std::vector<std::string> lastLines_; // of the last start
};

// The users of a run.
[[nodiscard]] std::string userOfNumber(std::uint32_t number);

} // namespace veskline::simulation
