#include "platform/files/FileSystemIdentity.h"

#include "platform/files/OpenDescriptor.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/sysmacros.h>

using namespace platform;

TEST(FileSystemIdentity, TellsFileSystemsApartAndKnowsTheKernelsOwn) {
    const TemporaryFolder folder;
    const auto identityOf = [](const std::string& path) {
        return fileSystemIdentity(OpenDescriptor::folder(AT_FDCWD, path).number()).value();
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
