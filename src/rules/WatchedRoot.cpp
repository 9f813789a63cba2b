#include "rules/WatchedRoot.h"

#include "platform/files/Paths.h"
#include "rules/MountPoints.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace veskline {

namespace {

constexpr std::size_t bufferBytes = 65536;
// A storm that makes the kernel's queue overflow again and again may keep setting the watch up, but only for this part
// of the time.
constexpr int restartShare = 10;

std::string withoutLinks(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? real.get() : path;
}

} // namespace

WatchedRoot::WatchedRoot(std::string path, Surroundings surroundings)
    : path_(platform::withoutTrailingSlashes(path)), surroundings_(std::move(surroundings)),
      calls_(*surroundings_.calls), buffer_(bufferBytes), tree_(path_) {}

void WatchedRoot::begin(StartMoment since) {
    lookedAt_ = since;
    setUp(since);
}

void WatchedRoot::setUp(StartMoment since) {
    instance_ = platform::OpenDescriptor();
    tree_ = WatchTree(path_);
    visits_.clear();
    way_.clear();
    retries_.clear();
    orphans_.clear();
    standIns_.clear();
    foreignDevices_.clear();
    rootIdentity_.reset();
    mustRestart_ = false;
    since_ = since;
    openPass();
    platform::OpenDescriptor root = platform::OpenDescriptor::folder(AT_FDCWD, path_, 0);
    if (root.isOpen()) {
        mounts_ = currentMountsWithin(withoutLinks(path_));
        instance_ = platform::OpenDescriptor(calls_.createInstance());
        enter(std::move(root), {.parent = WatchTree::none, .name = {}});
    }
}

void WatchedRoot::work() {
    if (!visits_.empty()) {
        visitNext();
    } else if (isPassOpen_) {
        finishPass();
    } else if (mustRestart_ && std::chrono::steady_clock::now() >= restartFrom_) {
        restart();
    } else if (!orphans_.empty()) {
        removeOrphan();
    }
}

WatchedRoot::Instant WatchedRoot::nextWork() const noexcept {
    if (isPassOpen_ || !orphans_.empty()) {
        return Instant::min();
    }
    return mustRestart_ ? restartFrom_ : Instant::max();
}

void WatchedRoot::look() {
    if (isPassOpen_ || mustRestart_) {
        return;
    }
    const std::optional<Identity> found = findIdentity(path_);
    if (found != rootIdentity_ || (found && currentMountsWithin(withoutLinks(path_)) != mounts_)) {
        if (rootIdentity_) {
            surroundings_.report(path_);
        }
        mustRestart_ = true;
        return;
    }
    since_ = std::exchange(lookedAt_, StartMoment::now());
    std::vector<Visit> retries = std::exchange(retries_, {});
    if (std::ranges::any_of(retries, [](const Visit& visit) { return visit.parent == WatchTree::none; })) {
        return setUp(since_); // the root itself had no watch
    }
    std::ranges::for_each(retries, [this](Visit& visit) { addVisit(std::move(visit)); });
}

// Nobody knows what changed. The root is told at once, and again with the watch that is set up from the moment told.
void WatchedRoot::missChanges() {
    surroundings_.report(path_);
    mustRestart_ = true;
}

// What changed before the moment is found by the scan that the report brings, and what changed after it by the times.
void WatchedRoot::restart() {
    begin(StartMoment::now());
    if (rootIdentity_) {
        surroundings_.report(path_);
    }
}

void WatchedRoot::addVisit(Visit visit) {
    if (!isPassOpen_) {
        openPass();
    }
    visits_.push_back(std::move(visit));
}

void WatchedRoot::openPass() {
    isPassOpen_ = true;
    passBegan_ = std::chrono::steady_clock::now();
    comparesTimes_ = false;
    meetsForeignTimes_ = false;
    ignored_.clear();
    for (const std::string& folder : surroundings_.ignoredFolders) {
        if (const std::optional<Identity> identity = findIdentity(folder)) {
            ignored_.push_back(*identity);
        }
    }
}

void WatchedRoot::finishPass() {
    isPassOpen_ = false;
    way_.clear();
    visits_ = {};
    if (comparesTimes_ && (meetsForeignTimes_ || since_.isOvertakenByClock())) {
        surroundings_.report(path_);
    }
    for (auto& [watch, visit] : standIns_) {
        tree_.detach(watch);
        orphans_.push_back(watch);
        visit.report = Report::changes;
        retries_.push_back(std::move(visit));
    }
    standIns_.clear();
    isGapTold_ = std::ranges::any_of(retries_, [](const Visit& visit) { return visit.report == Report::changes; });
    const Instant now = std::chrono::steady_clock::now();
    restartFrom_ = now + restartShare * (now - passBegan_);
}

// One that was found in a new place meanwhile stays.
void WatchedRoot::removeOrphan() {
    const Watch watch = orphans_.back();
    orphans_.pop_back();
    if (tree_.contains(watch) && !tree_.isAttached(watch)) {
        forget(watch);
    }
}

} // namespace veskline
