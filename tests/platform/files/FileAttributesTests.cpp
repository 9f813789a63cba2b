#include "platform/files/FileAttributes.h"
#include "platform/files/FileError.h"
#include "platform/files/FileSystemIdentity.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace platform {

namespace {

FileSystemIdentity identityOf(const std::string& path) {
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const auto identity = fileSystemIdentity(folder);
    ::close(folder);
    return identity.value_or(FileSystemIdentity{.text = "none"});
}

} // namespace

TEST(FileAttributes, TellSizeAndTimeToTheNanosecond) {
    const TemporaryFolder folder;
    const std::string path = folder.write("a.txt", "twelve bytes");
    const std::array<timespec, 2> times{{{1, 0}, {1'700'000'000, 123'456'789}}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times.data(), 0), 0);
    const FileAttributes expected{.bytes = 12, .mtimeMilliseconds = (1'700'000'000.0 + 123'456'789 / 1e9) * 1000.0};
    EXPECT_EQ(readFileAttributes(path), expected);
    ASSERT_EQ(::symlink(path.c_str(), folder.at("link").c_str()), 0);
    EXPECT_EQ(readFileAttributes(folder.at("link")), expected);
    EXPECT_EQ(readFileAttributes(folder.string()).bytes, 0);
}

TEST(FileAttributes, AreInTheDistantPastWithoutATime) {
    struct statx answer{};
    answer.stx_mode = S_IFREG;
    answer.stx_mtime.tv_sec = -2;
    answer.stx_mtime.tv_nsec = 500'000'000;
    EXPECT_EQ(attributesOf(answer).mtimeMilliseconds, -62'135'596'800'000.0);
    answer.stx_mask = STATX_MTIME;
    EXPECT_EQ(attributesOf(answer).mtimeMilliseconds, -1500.0);
}

TEST(FileAttributes, SayWhichFileHasNone) {
    try {
        (void)readFileAttributes("/nowhere/a.txt");
        FAIL();
    } catch (const FileError& error) {
        EXPECT_STREQ(error.what(), "The file \"/nowhere/a.txt\" could not be looked at: No such file or directory");
    }
}

TEST(FileSystemIdentity, TellsFileSystemsApartAndKnowsTheKernelsOwn) {
    const TemporaryFolder folder;
    const FileSystemIdentity here = identityOf(folder.string());
    const FileSystemIdentity proc = identityOf("/proc");
    EXPECT_EQ(identityOf(folder.makeFolder("a")).text, here.text);
    EXPECT_NE(proc.text, here.text);
    EXPECT_FALSE(here.isKernelMade);
    EXPECT_TRUE(proc.isKernelMade);
}

TEST(FileSystemIdentity, FindsTheTypeOfADeviceAmongTheMounts) {
    constexpr std::string_view mounts = "24 27 0:6 / /dev rw,relatime - devtmpfs devtmpfs rw,size=12334460k\n"
                                        "25 24 0:23 / /dev/shm rw shared:4 master:1 - tmpfs tmp\\040fs rw\n"
                                        "26 24 0:60 / /mnt";
    EXPECT_EQ(mountedType(mounts, makedev(0, 6)), "devtmpfs");
    EXPECT_EQ(mountedType(mounts, makedev(0, 23)), "tmpfs");
    EXPECT_EQ(mountedType(mounts, makedev(0, 60)), "");
    EXPECT_EQ(mountedType(mounts, makedev(254, 0)), "");
}

} // namespace platform
