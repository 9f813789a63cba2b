#pragma once

#include "platform/files/DirectoryWalk.h"
#include "platform/files/OpenDescriptor.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace platform::DirectoryWalk {

// What a walk still has to see: the way from its root to the folder where it is, and the folders to enter from there.
struct Rest {
    // A folder whose entries are listed and some of whose subfolders are still to be entered.
    struct Folder {
        OpenDescriptor descriptor; // closed while the walk is far below
        dev_t device;
        ino_t inode;
        std::size_t pathLength;
        std::size_t firstName; // from here on the waiting names are its own, or those of folders below it
    };

    std::string path; // of the folder that is looked at; empty for "/"
    std::vector<Folder> folders;
    std::size_t firstOpen = 0; // folders from here on are open
    std::string waiting;       // names of folders to enter, each with a zero byte, those of the deepest folder last

    // About half of what waits in the folder nearest to the root that is open and has any: a rest that another walker
    // can see to at the same time. None where nothing would be left here, or no descriptor is to be had.
    [[nodiscard]] std::optional<Rest> split();

private:
    // The folders down to the one at that place, none of them open and nothing waiting.
    [[nodiscard]] Rest wayTo(std::size_t at) const;
};

// One thread's part of a walk, and what came of it.
class FolderWalker {
public:
    FolderWalker(const std::string& root, const Visitor& visitor, const std::atomic<bool>* stop, const Calls& calls);

    // Lists the root; what lies below it is left.
    [[nodiscard]] Rest enterRoot();
    // Sees all of `rest`, down to the last folder. `betweenFolders` may take some of it away.
    void walk(Rest rest, const std::function<void(Rest& rest)>& betweenFolders);

    [[nodiscard]] bool isStopped() const { return stop_ != nullptr && stop_->load(std::memory_order_relaxed); }

    [[nodiscard]] const std::string& root() const noexcept { return root_; }
    [[nodiscard]] Outcome& outcome() noexcept { return outcome_; }

private:
    [[nodiscard]] const std::string& folderPath() const { return rest_.path.empty() ? root_ : rest_.path; }
    void fail(std::string reason);
    void fail(int error);

    void enterNext();
    void enter(OpenDescriptor descriptor);
    [[nodiscard]] bool mayEnter(const OpenDescriptor& descriptor, const struct stat& found);
    void closeFarthest();
    void leave();
    int reopen(Rest::Folder& parent, const OpenDescriptor& child);

    void list(int folder);
    void take(int folder, std::span<const std::byte> entries);
    void take(int folder, std::string_view name, unsigned char type);
    unsigned char typeOf(int folder, std::string_view name);

    const std::string root_;
    const Visitor& visitor_;
    const std::atomic<bool>* stop_;
    const Calls& calls_;
    Rest rest_;
    Outcome outcome_;
};

} // namespace platform::DirectoryWalk
