#pragma once

#include "platform/async/SerialExecutor.h"
#include "platform/async/Task.h"
#include "state/StoreFile.h"
#include "state/StorePlace.h"
#include "state/records/RetryQueueItem.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace veskline {

// Keeps the uploads that failed and are to be tried again: one JSON array of RetryQueueItem in queue order, pretty-
// printed with sorted keys, readable by the user alone. Where that file does not exist, the queue of the older desktop
// application is taken over by copying it.
//
// Owned by the model, used by the coordinator; outlives it. Its operations run one after the other on executor(), so
// that no two calls of append() lose each other's item; a caller that reads, works for a while and then writes has no
// such protection. It keeps nothing in memory, and each replacement of the file is atomic: a crash at any moment
// leaves the old queue or the new one.
class RetryQueueStore {
public:
    // The queue by owner, each list in queue order.
    struct Partition {
        std::vector<RetryQueueItem> active;   // of the user that was asked for, or of nobody
        std::vector<RetryQueueItem> deferred; // of others: they wait untouched

        friend bool operator==(const Partition&, const Partition&) = default;
    };

    // In AppPaths::retryQueueFile(), or where that cannot be, without a word, in vesk-retry-queue.json under
    // `fallbackFolder`.
    [[nodiscard]] static StorePlace defaultPlace(std::string_view fallbackFolder = sharedTemporaryFolder);

    // At the application's own places, with `pool` to run on.
    explicit RetryQueueStore(async::Executor pool);
    RetryQueueStore(async::Executor pool, const StorePlace& url, std::optional<std::string> legacyURL);

    [[nodiscard]] async::Executor executor() const noexcept { return serial_.executor(); }

    // The whole queue. Empty where there is none, where one item of it is not valid (the file stays until the next
    // write and hides the older application's), and where it cannot be read at the moment. Throws nothing for any
    // content.
    [[nodiscard]] async::Task<std::vector<RetryQueueItem>> read();

    // Replaces the whole queue. Throws platform::FileError, or platform::JsonError for text that is no valid UTF-8; the
    // old file stays whole.
    async::Task<> write(std::vector<RetryQueueItem> items);

    // Adds the item at the end, also one whose path or key is queued already. Throws like write(), and
    // platform::FileError where the queue is there but cannot be read at the moment: it is not replaced then.
    async::Task<> append(RetryQueueItem item);

    // Splits the queue and changes nothing. An item belongs to its `userID`, and without one to the user that its
    // storage key names ("user-<id>/...").
    [[nodiscard]] async::Task<Partition> partition(std::string forUserID);

private:
    [[nodiscard]] static std::optional<std::string> inferredUserID(std::string_view from);
    [[nodiscard]] std::vector<RetryQueueItem> items() const;
    [[nodiscard]] std::vector<RetryQueueItem> itemsOrNone() const;
    void replace(const std::vector<RetryQueueItem>& items) const;
    void takeOver(const std::vector<RetryQueueItem>& items) const;

    async::SerialExecutor serial_;
    StoreFile file_;
};

static_assert(async::Actor<RetryQueueStore>);

} // namespace veskline
