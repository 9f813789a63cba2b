#include "rules/MountPoints.h"

#include <gtest/gtest.h>

namespace veskline {

using Names = std::vector<std::string>;

TEST(MountPoints, ListsWhatLiesWithinAFolder) {
    constexpr std::string_view mountInfo = "22 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                                           "30 22 8:2 / /home rw shared:2 - ext4 /dev/sda2 rw\n"
                                           "31 30 8:3 / /home/my\\040disk rw - vfat /dev/sdb1 rw\n"
                                           "32 30 8:4 / /homes rw - ext4 /dev/sdc1 rw\n"
                                           "cut off";
    EXPECT_EQ(mountsWithin(mountInfo, "/home"), (Names{"30 /home", "31 /home/my disk"}));
    EXPECT_EQ(mountsWithin(mountInfo, "/home/my disk/deep"), Names{});
    EXPECT_EQ(mountsWithin(mountInfo, "/").size(), 4U);
}

} // namespace veskline
