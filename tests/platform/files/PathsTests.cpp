#include "platform/files/Paths.h"

#include <gtest/gtest.h>

#include <vector>

using namespace platform;

TEST(Paths, TakesPathsApartWithoutTheDisk) {
    struct Row {
        std::string_view path, standardized, parent, last, extension;
    };
    for (const Row& row :
         {Row{"/a/./b//c.d/", "/a/b/c.d", "/a/./b", "c.d", "d"},
          Row{"/a/../../b.tar.GZ", "/b.tar.GZ", "/a/../..", "b.tar.GZ", "GZ"}, Row{"/a", "/a", "/", "a", ""},
          Row{"/", "/", "", "", ""}, Row{"//", "/", "", "", ""}, Row{"/..", "/", "/", "..", ""},
          Row{"", "", "", "", ""}, Row{"a/../../b", "../b", "a/../..", "b", ""},
          Row{"/x.y/README", "/x.y/README", "/x.y", "README", ""}, Row{"/a.", "/a.", "/", "a.", ""},
          Row{"/.profile", "/.profile", "/", ".profile", ""}, Row{"/.env.txt", "/.env.txt", "/", ".env.txt", "txt"}}) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(standardizedPath(row.path), row.standardized);
        EXPECT_EQ(parentPath(row.path), row.parent);
        EXPECT_EQ(lastComponent(row.path), row.last);
        EXPECT_EQ(pathExtension(row.path), row.extension);
    }
}

TEST(Paths, TellsWhatLiesBelowAFolder) {
    for (const char* folder : {"/a", "/a/", "/"}) {
        EXPECT_TRUE(isBelow("/a/b", folder)) << folder;
    }
    for (const auto& [path, folder] : std::vector<std::pair<std::string_view, std::string_view>>{
             {"/ab", "/a"}, {"/a", "/a"}, {"/a/", "/a"}, {"/", "/"}, {"/a", "/a/b"}}) {
        EXPECT_FALSE(isBelow(path, folder)) << path << " " << folder;
    }
}
