#include "sync/EventStreamWatch.h"

#include "rules/DirectoryEventStream.h"

#include <memory>
#include <utility>

namespace veskline {

SyncCoordinator::WatchFolders watchByEventStream(async::Executor main, std::vector<std::string> ignoredFolders) {
    return [main, ignoredFolders = std::move(ignoredFolders)](std::vector<std::string> roots,
                                                              DirectoryEventStream::PathsHandler onPathsChanged) {
        DirectoryEventStream::Options options;
        options.ignoredFolders = ignoredFolders;
        const auto stream = std::make_shared<DirectoryEventStream>(std::move(roots), main, std::move(options));
        stream->onPathsChanged = std::move(onPathsChanged);
        stream->start();
        return SyncCoordinator::EventStream{.stop = [stream] { stream->stop(); }};
    };
}

} // namespace veskline
