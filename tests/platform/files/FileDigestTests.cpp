#include "platform/files/DigestAlgorithm.h"
#include "platform/files/FileDigest.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace platform;

namespace {

std::string digestOf(const std::string& path, const std::atomic<bool>* stop = nullptr) {
    try {
        return hexadecimal(sha256OfFile(path, stop));
    } catch (const std::exception& error) {
        return error.what();
    }
}

} // namespace

TEST(FileDigest, IsThatOfTheWholeContentOrSaysWhyThereIsNone) {
    const TemporaryFolder folder;
    const std::string path = folder.write("a.txt", std::string(1'000'000, 'a'));
    const std::string pipe = folder.at("pipe.txt");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::atomic<bool> stop = true;
    EXPECT_EQ(digestOf(path), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
    EXPECT_EQ(digestOf(path, &stop), "The file \"" + path + "\" could not be read: Operation canceled");
    EXPECT_EQ(digestOf("/no"), "The file \"/no\" could not be opened: No such file or directory");
    EXPECT_EQ(digestOf(pipe), "The file \"" + pipe + "\" could not be read: it is no regular file");
}

TEST(DigestAlgorithm, SaysSoWhereTheSystemRefusesIt) {
    try {
        const DigestAlgorithm refused("MD5", "fips=yes");
        FAIL() << "no provider claims that MD5 is approved";
    } catch (const DigestError& error) {
        EXPECT_TRUE(std::string(error.what())
                        .starts_with("The system's cryptography library does not offer MD5, as in a FIPS "
                                     "configuration: error:"))
            << error.what();
    }
}
