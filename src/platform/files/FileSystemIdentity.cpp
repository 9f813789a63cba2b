#include "platform/files/FileSystemIdentity.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>

namespace platform {

namespace {

// By statfs(2). Those that <linux/magic.h> does not name stand as numbers, from the kernel's sources.
constexpr std::array<std::uint32_t, 22> kernelMadeTypes{
    PROC_SUPER_MAGIC, SYSFS_MAGIC,        DEVPTS_SUPER_MAGIC, CGROUP_SUPER_MAGIC,   CGROUP2_SUPER_MAGIC,
    DEBUGFS_MAGIC,    TRACEFS_MAGIC,      SECURITYFS_MAGIC,   BPF_FS_MAGIC,         PSTOREFS_MAGIC,
    HUGETLBFS_MAGIC,  AUTOFS_SUPER_MAGIC, NSFS_MAGIC,         SOCKFS_MAGIC,         PIPEFS_MAGIC,
    SELINUX_MAGIC,    EFIVARFS_MAGIC,     BINFMTFS_MAGIC,     RDTGROUP_SUPER_MAGIC,
    0x19800202, // mqueue
    0x62656570, // configfs
    0x65735543, // fusectl
};

bool isDeviceFolder(int folder) {
    struct stat found{};
    if (::fstat(folder, &found) != 0) {
        return false;
    }
    std::ifstream file("/proc/self/mountinfo");
    const std::string mountInfo(std::istreambuf_iterator<char>(file), {});
    return mountedType(mountInfo, found.st_dev) == "devtmpfs";
}

// The type's magic number as statfs gives it: its C type is signed and wider on some machines.
std::uint32_t typeOf(const struct statfs& found) {
    return static_cast<std::uint32_t>(found.f_type);
}

bool isKernelMade(int folder, std::uint32_t type) {
    const bool mayHoldDevices = type == TMPFS_MAGIC || type == RAMFS_MAGIC;
    return std::ranges::find(kernelMadeTypes, type) != kernelMadeTypes.end() ||
           (mayHoldDevices && isDeviceFolder(folder));
}

} // namespace

std::optional<FileSystemIdentity> fileSystemIdentity(int folder) {
    struct statfs found{};
    if (::fstatfs(folder, &found) != 0) {
        return std::nullopt;
    }
    std::uint64_t id = 0;
    static_assert(sizeof found.f_fsid == sizeof id);
    std::memcpy(&id, &found.f_fsid, sizeof id);
    return FileSystemIdentity{
        .text = fmt::format("{:x}:{:016x}", typeOf(found), id),
        .isKernelMade = isKernelMade(folder, typeOf(found)),
    };
}

std::string_view mountedType(std::string_view mountInfo, dev_t device) {
    const std::string number = fmt::format(" {}:{} /", gnu_dev_major(device), gnu_dev_minor(device));
    while (!mountInfo.empty()) {
        const std::string_view line = mountInfo.substr(0, mountInfo.find('\n'));
        mountInfo.remove_prefix(std::min(mountInfo.size(), line.size() + 1));
        // Blanks within a field are written as \040.
        const std::size_t separator = line.find(" - ");
        if (separator != std::string_view::npos && line.substr(0, separator).contains(number)) {
            const std::string_view type = line.substr(separator + 3);
            return type.substr(0, type.find(' '));
        }
    }
    return {};
}

} // namespace platform
