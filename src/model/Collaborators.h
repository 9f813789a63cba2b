#pragma once

#include "hosted/SupabaseHTTPClient.h"
#include "platform/async/Clock.h"
#include "platform/async/Executor.h"
#include "platform/http/HttpTransport.h"
#include "state/LocalDatabase.h"
#include "state/RetryQueueStore.h"
#include "state/SessionStore.h"
#include "sync/SyncCoordinator.h"

#include <atomic>

namespace veskline {

// Where and when the whole program runs: the process gives the real things, a test its own.
struct AppSurroundings {
    async::Executor main; // the thread of the model and the window
    async::Executor pool; // what the stores, the client and the coordinator run on
    async::Clock clock;
    platform::HttpTransport urlSession;
    SyncCoordinator::WatchFolders watchFolders;    // the system's change events where there is none
    SupabaseHTTPClient::SessionHandler onSession;  // how each question about the stored session goes
    const std::atomic<bool>* isQuitting = nullptr; // set for good when the process is about to end
};

// The model's five collaborators, one of each in the process, built in this order. They outlive every operation that
// runs on them: whoever starts one holds them too.
struct Collaborators {
    // Throws DatabaseError where the state database can't be opened; nothing else fails.
    Collaborators(const PublicConfig& config, const AppSurroundings& surroundings);
    Collaborators(const Collaborators&) = delete;
    Collaborators& operator=(const Collaborators&) = delete;

    SessionStore sessionStore;
    LocalDatabase database;
    RetryQueueStore retryQueue;
    SupabaseHTTPClient client;
    SyncCoordinator syncCoordinator;
};

} // namespace veskline
