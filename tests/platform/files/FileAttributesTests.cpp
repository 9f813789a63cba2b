#include "platform/files/FileAttributes.h"
#include "platform/files/FileSystemIdentity.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using namespace platform;

TEST(FileAttributes, AreThoseOfALinksTargetToTheNanosecond) {
    const TemporaryFolder folder;
    const std::string path = folder.write("a.txt", "twelve bytes");
    const timespec times[]{{1, 0}, {1'700'000'000, 123'456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    std::filesystem::create_symlink(path, folder.at("link"));
    const FileAttributes expected{.bytes = 12, .mtimeMilliseconds = (1'700'000'000.0 + 123'456'789 / 1e9) * 1000.0};
    EXPECT_EQ(readFileAttributes(folder.at("link")), expected);
    EXPECT_EQ(readFileAttributes(folder.string()).bytes, 0);
}

TEST(FileAttributes, AreInTheDistantPastWithoutATime) {
    struct statx answer{};
    answer.stx_mtime.tv_sec = -2;
    answer.stx_mtime.tv_nsec = 500'000'000;
    EXPECT_EQ(attributesOf(answer).mtimeMilliseconds, -62'135'596'800'000.0);
    answer.stx_mask = STATX_MTIME;
    EXPECT_EQ(attributesOf(answer).mtimeMilliseconds, -1500.0);
}

TEST(FileSystemIdentity, TellsFileSystemsApartAndKnowsTheKernelsOwn) {
    const TemporaryFolder folder;
    const auto identityOf = [](const std::string& path) {
        const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const FileSystemIdentity identity = fileSystemIdentity(descriptor).value();
        ::close(descriptor);
        return identity;
    };
    const FileSystemIdentity here = identityOf(folder.string());
    EXPECT_EQ(identityOf(folder.makeFolder("a")).text, here.text);
    EXPECT_NE(identityOf("/proc").text, here.text);
    EXPECT_FALSE(here.isKernelMade);
    EXPECT_TRUE(identityOf("/proc").isKernelMade);
}

TEST(FileSystemIdentity, FindsTheTypeOfADeviceAmongTheMounts) {
    constexpr std::string_view mounts = "24 27 0:6 / /dev rw,relatime - devtmpfs devtmpfs rw,size=12334460k\n"
                                        "25 24 0:23 / /dev/shm rw shared:4 master:1 - tmpfs tmp\\040fs rw\n"
                                        "26 24 0:60 / /mnt";
    EXPECT_EQ(mountedType(mounts, makedev(0, 6)), "devtmpfs");
    EXPECT_EQ(mountedType(mounts, makedev(0, 23)), "tmpfs");
    EXPECT_EQ(mountedType(mounts, makedev(0, 60)), "");
}
