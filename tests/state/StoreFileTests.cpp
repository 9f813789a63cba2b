#include "state/StoreFile.h"

#include "Faults.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace veskline {
namespace {

TEST(StoreFile, NeitherWritesNorReadsBeyondItsBound) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file.json", "12345678");
    const std::string older = folder.write("older.json", "older");
    const StoreFile::Content nothing{.bytes = "nothing"};
    const StoreFile eight({.path = path}, older, 8);
    EXPECT_EQ(eight.read().value_or(nothing).bytes, "12345678");
    EXPECT_EQ(test::failureOf([&] { eight.replace("123456789"); }),
              "The file \"" + path + "\" could not be written: it would be larger than 8 bytes");
    EXPECT_EQ(folder.read("file.json"), "12345678");
    const StoreFile seven({.path = path}, older, 7);
    EXPECT_EQ(seven.read().value_or(nothing).bytes, ""); // not the older one's
}

// A pipe in the place of a file would block whoever opens it.
TEST(StoreFile, TakesAPipeForAFileThatCannotBeRead) {
    const TemporaryFolder folder;
    const std::string path = folder.at("file.json");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_FALSE(StoreFile({.path = path}, std::nullopt, 8).read().has_value());
}

} // namespace
} // namespace veskline
