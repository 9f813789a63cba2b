#include "simulation/QueueWatch.h"

#include "platform/json/JsonObject.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace veskline::simulation {

namespace {

// What of an item no retry changes.
std::string identityOf(const RetryQueueItem& item) {
    return item.localPath + "\n" + item.storageKey + "\n" + item.sha256.value_or("");
}

} // namespace

void QueueWatch::drainBegins(const std::string& user) {
    if (!std::exchange(isDraining_, true)) {
        users_.clear();
        appended_.clear();
    }
    users_.insert(user);
}

void QueueWatch::drainEnds() {
    isDraining_ = false;
}

void QueueWatch::fileBecame(const std::string& content) {
    std::vector<RetryQueueItem> items;
    try {
        items = content.empty() ? items : platform::decodeJson<std::vector<RetryQueueItem>>(content);
    } catch (const platform::JsonError& error) {
        findings_.violate("the stores are whole at every moment", error.what());
        return;
    }
    std::multiset<std::string> now;
    for (const RetryQueueItem& item : items) {
        now.insert(identityOf(item));
        held_.emplace(item.storageKey, item.sha256.value_or(""));
    }
    const std::vector<RetryQueueItem> before = std::exchange(items_, std::move(items));
    for (const RetryQueueItem& item : before) {
        const std::string identity = identityOf(item);
        if (const auto kept = now.find(identity); kept != now.end()) {
            now.erase(kept);
        } else if (isDraining_ && appended_.contains(identity)) {
            findings_.allow("an item appended while a drain was under way");
            appended_.erase(appended_.find(identity));
        } else if (!isDraining_ || !users_.contains(item.userID.value_or(""))) {
            findings_.violate("the queue loses no item", item.storageKey + " of " + item.userID.value_or("nobody"));
        }
    }
    if (isDraining_) {
        appended_.merge(now); // what is left is new
    }
    countNew(before);
}

void QueueWatch::countNew(const std::vector<RetryQueueItem>& before) {
    std::multiset<std::string> known;
    for (const RetryQueueItem& item : before) {
        known.insert(identityOf(item));
    }
    for (const RetryQueueItem& item : items_) {
        if (const auto old = known.find(identityOf(item)); old != known.end()) {
            known.erase(old);
        } else if (item.attempts == 0) {
            ++fresh_[item.localPath];
        }
    }
}

// Only a step of the wire fails in these words, and only what comes before the wire leaves no item.
void QueueWatch::uploadFailed(const std::string& path, const std::string& words) {
    if (!words.starts_with("Supabase request failed") && !words.starts_with("The connection broke")) {
        return;
    }
    if (++failed_[path] <= fresh_[path]) {
        return;
    }
    failed_[path] = fresh_[path];
    if (isDraining_) {
        findings_.allow("an item appended while a drain was under way");
    } else {
        findings_.violate("a failed upload is queued", path);
    }
}

} // namespace veskline::simulation
