#include "state/RetryQueueStore.h"

#include "platform/files/FileError.h"
#include "platform/json/JsonObject.h"
#include "state/AppPaths.h"

#include <nlohmann/json.hpp>

#include <cassert>
#include <utility>

namespace veskline {

namespace {

// Far more than a queue of failed uploads holds; also refused on writing, so that what was written can be read again.
constexpr std::size_t mostBytes = std::size_t{64} << 20U;

std::optional<std::vector<RetryQueueItem>> decode(std::string_view bytes) {
    try {
        return platform::decodeJson<std::vector<RetryQueueItem>>(bytes);
    } catch (const platform::JsonError&) {
        return std::nullopt;
    }
}

} // namespace

StorePlace RetryQueueStore::defaultPlace(std::string_view fallbackFolder) {
    return placeOrFallback(&AppPaths::retryQueueFile, "vesk-retry-queue.json", fallbackFolder);
}

RetryQueueStore::RetryQueueStore(async::Executor pool)
    : RetryQueueStore(pool, defaultPlace(), AppPaths::legacyRetryQueueFile()) {}

RetryQueueStore::RetryQueueStore(async::Executor pool, const StorePlace& url, std::optional<std::string> legacyURL)
    : serial_(pool), file_(url, std::move(legacyURL), mostBytes) {}

async::Task<std::vector<RetryQueueItem>> RetryQueueStore::read() {
    co_return itemsOrNone();
}

async::Task<> RetryQueueStore::write(std::vector<RetryQueueItem> items) {
    replace(items);
    co_return;
}

async::Task<> RetryQueueStore::append(RetryQueueItem item) {
    std::vector<RetryQueueItem> queue = items();
    queue.push_back(std::move(item));
    replace(queue);
    co_return;
}

async::Task<RetryQueueStore::Partition> RetryQueueStore::partition(std::string forUserID) {
    Partition result;
    for (RetryQueueItem& item : itemsOrNone()) {
        const std::optional<std::string> owner = item.userID ? item.userID : inferredUserID(item.storageKey);
        const bool isActive = !owner || *owner == forUserID;
        (isActive ? result.active : result.deferred).push_back(std::move(item));
    }
    co_return result;
}

std::optional<std::string> RetryQueueStore::inferredUserID(std::string_view from) {
    constexpr std::string_view prefix = "user-";
    if (!from.starts_with(prefix)) {
        return std::nullopt;
    }
    from.remove_prefix(prefix.size());
    const std::size_t start = from.find_first_not_of('/'); // empty pieces do not count
    if (start == std::string_view::npos) {
        return std::nullopt;
    }
    from.remove_prefix(start);
    return std::string(from.substr(0, from.find('/')));
}

// Throws platform::FileError where the file is there but cannot be read at the moment.
std::vector<RetryQueueItem> RetryQueueStore::items() const {
    assert(executor().isCurrent());
    const std::optional<StoreFile::Content> content = file_.read();
    std::optional<std::vector<RetryQueueItem>> queue = content ? decode(content->bytes) : std::nullopt;
    if (queue && content->isLegacy) {
        takeOver(*queue);
    }
    return std::move(queue).value_or(std::vector<RetryQueueItem>());
}

std::vector<RetryQueueItem> RetryQueueStore::itemsOrNone() const {
    try {
        return items();
    } catch (const platform::FileError&) {
        return {};
    }
}

void RetryQueueStore::replace(const std::vector<RetryQueueItem>& items) const {
    assert(executor().isCurrent());
    platform::Json list = platform::Json::array();
    for (const RetryQueueItem& item : items) {
        list.push_back(toJson(item));
    }
    file_.replace(platform::encodePretty(list));
}

void RetryQueueStore::takeOver(const std::vector<RetryQueueItem>& items) const {
    try {
        replace(items);
    } catch (const platform::FileError&) {
        return; // the older file is still there to be read again
    }
}

} // namespace veskline
