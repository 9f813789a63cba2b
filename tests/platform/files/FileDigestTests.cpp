#include "platform/files/DigestAlgorithm.h"
#include "platform/files/FileDigest.h"
#include "platform/files/FileError.h"
#include "support/TemporaryFolder.h"
#include "support/Unprivileged.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace platform {

namespace {

std::string failureOf(const std::string& path, const std::atomic<bool>* stop = nullptr) {
    try {
        return hexadecimal(sha256OfFile(path, stop));
    } catch (const FileError& error) {
        return error.what();
    }
}

std::string words(const std::string& path, const std::string& failure) {
    return "The file \"" + path + "\" could not be " + failure;
}

} // namespace

TEST(FileDigest, IsThatOfTheWholeContent) {
    const TemporaryFolder folder;
    const auto digest = [&](std::string_view content) {
        return hexadecimal(sha256OfFile(folder.write("a.txt", content)));
    };
    EXPECT_EQ(digest(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(digest("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(digest(std::string(1'000'000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
    EXPECT_EQ(hexadecimal(md5Of("")), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(FileDigest, SaysWhyAFileHasNone) {
    const TemporaryFolder folder;
    const std::string pipe = folder.at("pipe.txt");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string secret = folder.write("secret.txt", "x");
    ASSERT_EQ(::chmod(secret.c_str(), 0), 0);
    const std::atomic<bool> stop = true;
    const veskline::testing::Unprivileged here(folder.path());

    EXPECT_EQ(failureOf(folder.at("gone")), words(folder.at("gone"), "opened: No such file or directory"));
    EXPECT_EQ(failureOf(secret), words(secret, "opened: Permission denied"));
    EXPECT_EQ(failureOf(pipe), words(pipe, "read: it is no regular file"));
    EXPECT_EQ(failureOf(folder.string()), words(folder.string(), "read: it is no regular file"));
    const std::string plain = folder.write("plain.txt", "x");
    EXPECT_EQ(failureOf(plain, &stop), words(plain, "read: Operation canceled"));
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

} // namespace platform
