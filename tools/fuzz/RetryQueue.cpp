#include "Target.h"
#include "simulation/OneThread.h"
#include "state/RetryQueueStore.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <string>
#include <vector>

namespace veskline::fuzz {

namespace {

using Items = std::vector<RetryQueueItem>;

class Queue {
public:
    [[nodiscard]] Items read() {
        return thread_.run([this] { return store_.read(); });
    }
    void write(const Items& items) {
        thread_.run([this, &items] { return store_.write(items); });
    }
    void append(const RetryQueueItem& item) {
        thread_.run([this, &item] { return store_.append(item); });
    }
    [[nodiscard]] RetryQueueStore::Partition partition() {
        return thread_.run([this] { return store_.partition("ann"); });
    }
    void writeBytes(std::string_view bytes) const { folder_.write(name, bytes); }
    [[nodiscard]] std::string bytes() const { return folder_.read(name); }

private:
    static constexpr const char* name = "queue.json";

    TemporaryFolder folder_;
    testing::OneThread thread_;
    RetryQueueStore store_{thread_.executor(), StorePlace{.path = folder_.at(name)}, std::nullopt};
};

bool isOrderedPart(const Items& part, const Items& whole) {
    auto next = whole.begin();
    for (const RetryQueueItem& item : part) {
        next = std::find(next, whole.end(), item);
        if (next == whole.end()) {
            return false;
        }
        ++next;
    }
    return true;
}

void requireParts(Queue& queue, const Items& items) {
    const auto [active, deferred] = queue.partition();
    require(active.size() + deferred.size() == items.size(), "each item has one part");
    require(isOrderedPart(active, items) && isOrderedPart(deferred, items), "the parts keep the queue's order");
    for (const RetryQueueItem& item : active) {
        require(!item.userID || item.userID == "ann", "no other user's item is tried");
    }
    for (const RetryQueueItem& item : deferred) {
        require(item.userID != "ann" && (item.userID || item.storageKey.starts_with("user-")),
                "what waits has an owner, and another one");
    }
}

} // namespace

void check(std::string_view input) {
    static Queue queue;
    queue.writeBytes(input);
    Items items = queue.read();
    requireParts(queue, items);
    require(queue.bytes() == input, "reading changes nothing");

    queue.write(items);
    const std::string written = queue.bytes();
    require(queue.read() == items, "a queue that is written and read again is the same");
    queue.write(items);
    require(queue.bytes() == written, "one queue is written in one way");
    const RetryQueueItem last{.localPath = "/a.txt", .storageKey = "user-ann/a", .bytes = 1};
    queue.append(last);
    items.push_back(last);
    require(queue.read() == items, "an item comes at the end");
}

} // namespace veskline::fuzz
