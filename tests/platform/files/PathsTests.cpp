#include "platform/files/Paths.h"

#include <gtest/gtest.h>

#include <vector>

namespace platform {

namespace {

struct PathRow {
    std::string_view path;
    std::string_view standardized;
    std::string_view parent;
    std::string_view last;
    std::string_view extension;
};

const std::vector<PathRow> rows{
    {"/a/b.txt", "/a/b.txt", "/a", "b.txt", "txt"},
    {"/a/./b//c.d/", "/a/b/c.d", "/a/./b", "c.d", "d"},
    {"/a/../../b.tar.GZ", "/b.tar.GZ", "/a/../..", "b.tar.GZ", "GZ"},
    {"/a", "/a", "/", "a", ""},
    {"/", "/", "", "", ""},
    {"//", "/", "", "", ""},
    {"/..", "/", "/", "..", ""},
    {"", "", "", "", ""},
    {"a/../../b", "../b", "a/../..", "b", ""},
    {"/x.y/README", "/x.y/README", "/x.y", "README", ""},
    {"/a.", "/a.", "/", "a.", ""},
    {"/.profile", "/.profile", "/", ".profile", ""},
    {"/.env.txt", "/.env.txt", "/", ".env.txt", "txt"},
    {"/name. txt", "/name. txt", "/", "name. txt", " txt"},
};

} // namespace

TEST(Paths, TakesPathsApartWithoutTheDisk) {
    for (const PathRow& row : rows) {
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

} // namespace platform
