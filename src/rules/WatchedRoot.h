#pragma once

#include "platform/files/OpenDescriptor.h"
#include "rules/StartMoment.h"
#include "rules/WatchCalls.h"
#include "rules/WatchEvents.h"
#include "rules/WatchTree.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace veskline {

// One watched folder with all below it: an inotify instance, the tree of its watches, and the work that keeps both
// level with the disk. The reader thread owns it and drives it in small steps, reading events between them.
//
// All work is visits: a visit opens one folder, watches it, then lists it, so that nothing can happen in between, and
// leaves a visit for each folder in it. A setting-up reports what carries a time since the start; a visit to a folder
// that appeared reports all it holds. A descriptor, a watch and a place in the tree stand for the same folder whatever
// it is called meanwhile, so events may be taken between any two visits.
//
// Visited is what a scan would enter: nothing hidden or excluded, no link below the root, no file system that the
// kernel makes up, none of the ignored folders.
class WatchedRoot {
public:
    using Instant = std::chrono::steady_clock::time_point;

    struct Surroundings {
        std::shared_ptr<const WatchCalls> calls;
        std::function<void(std::string path)> report;
        std::vector<std::string> ignoredFolders;
        const std::atomic<bool>* isStopped = nullptr; // looked at in the midst of long listings
    };

    // `path` may be a link to a folder, and may not be there yet.
    WatchedRoot(std::string path, Surroundings surroundings);

    // Sets the watch up anew and reports what changed since that moment, from the next steps on.
    void begin(StartMoment since);

    // --- WatchedRoot.cpp ---

    // One step. It is due at nextWork(): at once, at some time, or never (Instant::max()).
    void work();
    [[nodiscard]] Instant nextWork() const noexcept;
    // To be called every minute: is it still the same folder, what changed where there is no watch, can it be had now.
    void look();

    // --- WatchedRootEvents.cpp ---

    // Takes what the kernel has, up to one buffer; false when that was nothing.
    bool readEvents();
    // What poll(2) waits for; negative where there is nothing to wait for.
    [[nodiscard]] int instance() const noexcept { return instance_.number(); }
    [[nodiscard]] std::size_t watchedFolders() const noexcept { return tree_.size(); }

private:
    using Watch = WatchTree::Watch;
    enum class Report : std::uint8_t { changes, everything };
    struct Visit {
        Watch parent = WatchTree::none;
        std::string name;
        Report report = Report::changes;
        bool isAgain = false; // list it even where it is known in this place
    };
    // An open folder on the way down to the one that is visited.
    struct Level {
        Watch watch;
        std::uint64_t device;
        platform::OpenDescriptor folder;
    };
    struct Identity {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        bool operator==(const Identity&) const = default;
    };
    // A folder without a watch has a place in the tree for the length of a pass, under a number below `none`.
    static bool isStandIn(Watch watch) noexcept { return watch < WatchTree::none; }

    // WatchedRoot.cpp
    void setUp(StartMoment since);
    void missChanges();
    void restart();
    void openPass();
    void finishPass();
    void removeOrphan();
    void addVisit(Visit visit);

    // WatchedRootEvents.cpp
    void take(const WatchEvent& event);
    void takeMove(Watch watch);
    void takeEnd(const WatchEvent& event);

    // WatchedRootVisits.cpp
    static Identity identityOf(const struct statx& found) noexcept;
    static std::optional<Identity> findIdentity(const std::string& path);
    static bool isWanted(std::string_view name);
    void visitNext();
    void visitLater(Visit visit);
    void enter(platform::OpenDescriptor folder, Visit visit);
    Watch watch(int folder, const Visit& visit);
    bool settle(Watch watch, Visit& visit);
    bool mayEnter(int folder, const Visit& visit, const struct statx& found);
    void forget(Watch watch);
    void keep(Watch watch, std::uint64_t device, platform::OpenDescriptor folder);
    const Level* wayTo(Watch watch);
    [[nodiscard]] platform::OpenDescriptor openKnown(Watch watch) const;
    bool list(int folder, Watch watch, const Visit& visit);
    bool takeEntries(int folder, Watch watch, const Visit& visit, std::size_t bytes);
    void takeEntry(int folder, Watch watch, const Visit& visit, const char* name, unsigned char type);

    const std::string path_;
    const Surroundings surroundings_;
    const WatchCalls& calls_;
    std::vector<std::byte> buffer_;

    platform::OpenDescriptor instance_;
    WatchTree tree_;
    std::optional<Identity> rootIdentity_; // of the folder that is watched; none while it is missing
    std::vector<std::string> mounts_;      // within the root when the watch was set up
    std::vector<Identity> ignored_;

    std::vector<Visit> visits_;  // to be made, the last one first
    std::vector<Level> way_;     // empty between passes: an open folder keeps its file system from being unmounted
    std::vector<Visit> retries_; // to be made at the next look: no watch could be had, or the folder not be read
    std::vector<Watch> orphans_; // folders that may have left the tree, and whose watches then go

    // A pass is from the first visit to the last one.
    bool isPassOpen_ = false;
    Instant passBegan_;
    StartMoment since_;
    StartMoment lookedAt_;
    bool comparesTimes_ = false;
    bool meetsForeignTimes_ = false;
    std::vector<std::uint64_t> foreignDevices_;
    std::vector<std::pair<Watch, Visit>> standIns_; // the topmost ones of the pass
    Watch lastStandIn_ = WatchTree::none;
    bool isGapTold_ = false;

    bool mustRestart_ = false;
    Instant restartFrom_;
};

} // namespace veskline
