#pragma once

#include "platform/async/Executor.h"
#include "sync/SyncCoordinator.h"

#include <string>
#include <vector>

namespace veskline {

// The watch of the running program: a DirectoryEventStream on `main`. What happens in `ignoredFolders` is not told:
// the agent's own state lies there, and a failing service would else keep it rescanning for ever.
[[nodiscard]] SyncCoordinator::WatchFolders watchByEventStream(async::Executor main,
                                                               std::vector<std::string> ignoredFolders);

} // namespace veskline
