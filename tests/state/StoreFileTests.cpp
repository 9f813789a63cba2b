#include "state/StoreFile.h"

#include "state/Stored.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace veskline;

TEST(StoreFile, NeitherWritesNorReadsBeyondItsBound) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file.json", "12345678");
    const std::string older = folder.write("older.json", "older");
    const StoreFile eight({.path = path}, older, 8);
    EXPECT_EQ(eight.read().value().bytes, "12345678");
    EXPECT_EQ(veskline::testing::failureOf([&] { eight.replace("123456789"); }),
              "The file \"" + path + "\" could not be written: it would be larger than 8 bytes");
    EXPECT_EQ(folder.read("file.json"), "12345678");
    EXPECT_EQ(StoreFile({.path = path}, older, 7).read().value().bytes, "") << "not the older one's";
}

TEST(StoreFile, IsNotHeldUpByAPipeInTheFilesPlace) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.at("file.json").c_str(), 0600), 0);
    EXPECT_FALSE(StoreFile({.path = folder.at("file.json")}, std::nullopt, 8).read().has_value());
}
