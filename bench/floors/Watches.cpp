#include "floors/Floors.h"
#include "measure/Changes.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

namespace floors {

namespace {

constexpr std::uint32_t changes = IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM |
                                  IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;
// Where few events come, more are let come together: to be woken for each costs more than to read them.
constexpr auto gathering = std::chrono::milliseconds(5);

// The watches of a tree, by the least work: inotify_add_watch, openat and getdents64 for each folder, and one statx for
// each file, for what changed before the watch stood shows nowhere else. Nothing is remembered.
class Watches {
public:
    // Throws std::system_error where a watch is refused.
    explicit Watches(const std::string& root);
    ~Watches();
    Watches(const Watches&) = delete;
    Watches& operator=(const Watches&) = delete;

    [[nodiscard]] int instance() const { return instance_; }

    std::int64_t count = 0;

private:
    void add(int parent, const char* name, std::size_t pathLength);

    static constexpr std::size_t bufferBytes = 65536;

    char path_[8192];
    std::unique_ptr<char[]> buffer_ = std::make_unique_for_overwrite<char[]>(bufferBytes);
    int instance_;
};

Watches::Watches(const std::string& root) : instance_(inotify_init1(IN_CLOEXEC)) {
    std::memcpy(path_, root.c_str(), root.size() + 1);
    add(AT_FDCWD, path_, root.size());
}

Watches::~Watches() {
    close(instance_);
}

// As FoundFiles walks.
void Watches::add(int parent, const char* name, std::size_t pathLength) {
    if (inotify_add_watch(instance_, path_, changes) < 0) {
        throw std::system_error(errno, std::generic_category(), "watch (see fs.inotify.max_user_watches)");
    }
    ++count;
    const int folder = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    path_[pathLength] = '/';
    std::string below;
    for (ssize_t bytes = 0; (bytes = getdents64(folder, buffer_.get(), bufferBytes)) > 0;) {
        for (char* at = buffer_.get(); at < buffer_.get() + bytes;) {
            const auto* entry = reinterpret_cast<const dirent64*>(at);
            at += entry->d_reclen;
            struct statx found{};
            if (entry->d_type != DT_DIR) {
                statx(folder, entry->d_name, AT_SYMLINK_NOFOLLOW, STATX_CTIME, &found);
            } else if (entry->d_name[0] != '.') {
                below.append(entry->d_name).push_back('\0');
            }
        }
    }
    for (std::size_t at = 0; at < below.size();) {
        const std::string_view next(&below[at]);
        std::memcpy(path_ + pathLength + 1, next.data(), next.size() + 1);
        add(folder, path_ + pathLength + 1, pathLength + 1 + next.size());
        at += next.size() + 1;
    }
    close(folder);
}

} // namespace

bench::Sample watch(Arguments arguments) {
    const bench::Stopwatch stopwatch;
    const Watches watches(arguments[0]);
    return stopwatch.stop(watches.count);
}

bench::Sample events(Arguments arguments) {
    const bench::Changes made(arguments[0], std::stoll(arguments[2]));
    const Watches watches(arguments[0]);
    alignas(inotify_event) std::array<std::byte, 65536> buffer;
    const bench::Stopwatch stopwatch;
    made.begin();
    while (made.taken() < made.events()) {
        const ssize_t bytes = read(watches.instance(), buffer.data(), buffer.size());
        if (bytes > 0) {
            made.take(std::span(buffer).first(static_cast<std::size_t>(bytes)));
        }
        if (bytes < static_cast<ssize_t>(buffer.size() / 2)) {
            std::this_thread::sleep_for(gathering);
        }
    }
    return stopwatch.stop(made.taken());
}

} // namespace floors
