#include "model/Collaborators.h"

#include "platform/files/Paths.h"
#include "sync/EventStreamWatch.h"

namespace veskline {

namespace {

// The state folder; the shared folder of the fall-back files is everybody's.
std::vector<std::string> foldersOfOurOwn() {
    const StorePlace place = LocalDatabase::defaultPlace();
    return place.mustBeOwn ? std::vector<std::string>() : std::vector{std::string(platform::parentPath(place.path))};
}

SyncCoordinator::Surroundings engineSurroundings(const AppSurroundings& surroundings) {
    SyncCoordinator::Surroundings engine{
        .pool = surroundings.pool,
        .main = surroundings.main,
        .clock = surroundings.clock,
        .watchFolders = surroundings.watchFolders,
        .isQuitting = surroundings.isQuitting,
    };
    if (!engine.watchFolders) {
        engine.watchFolders = watchByEventStream(surroundings.main, foldersOfOurOwn());
    }
    return engine;
}

} // namespace

Collaborators::Collaborators(const PublicConfig& config, const AppSurroundings& surroundings)
    : sessionStore(surroundings.pool), database(surroundings.pool), retryQueue(surroundings.pool),
      client(config, sessionStore, surroundings.urlSession, surroundings.pool, surroundings.onSession),
      syncCoordinator(config, client, database, retryQueue, sessionStore, engineSurroundings(surroundings)) {}

} // namespace veskline
