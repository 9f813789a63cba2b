#pragma once

#include "simulation/Findings.h"
#include "state/records/RetryQueueItem.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace veskline::simulation {

// Follows the retry queue: whatever is in it leaves it through a drain alone, and the items of other users not even
// then. An item that is appended while a drain works on its list may be overwritten by the drain's end, as the text of
// the queue says; that is counted.
class QueueWatch {
public:
    explicit QueueWatch(Findings& findings) : findings_(findings) {}

    void drainBegins(const std::string& user);
    void userDuringDrain(const std::string& user) { users_.insert(user); }
    void drainEnds();
    // The log says so of a file, with these words; by then its item has been appended.
    void uploadFailed(const std::string& path, const std::string& words);
    // The queue file's content after it may have changed; absent reads as an empty text.
    void fileBecame(const std::string& content);

    [[nodiscard]] const std::vector<RetryQueueItem>& items() const noexcept { return items_; }
    // Whether the queue ever held this digest for this key.
    [[nodiscard]] bool hasHeld(const std::string& storageKey, const std::string& sha256) const {
        return held_.contains({storageKey, sha256});
    }

private:
    void countNew(const std::vector<RetryQueueItem>& before);

    Findings& findings_;
    std::map<std::string, int> fresh_;  // items that were appended, by path
    std::map<std::string, int> failed_; // failures that have to leave one
    std::vector<RetryQueueItem> items_;
    std::set<std::pair<std::string, std::string>> held_;
    std::multiset<std::string> appended_; // while a drain is under way
    std::set<std::string> users_;         // who may be the drain's user
    bool isDraining_ = false;
};

} // namespace veskline::simulation
