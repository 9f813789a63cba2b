#include "TransportFixture.h"
#include "platform/http/FileBodyReader.h"

#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>

namespace platform::testing {
namespace {

class CurlTransportFiles : public TransportFixture {
protected:
    // Sends a file that `change` alters between a first sending, which the server redirects, and the second.
    template <class Change>
    std::string outcomeOfSecondSending(const std::string& path, Change change) {
        server.reply({.status = 307, .headers = {{"Location", "/again"}}, .isHeld = true});
        std::string outcome;
        std::thread sender([&] { outcome = outcomeOfUpload(path); });
        server.waitForRequests(1);
        change();
        server.release();
        sender.join();
        return outcome;
    }

    // Of a file that has grown before its second sending.
    void expectTheFirstLengthTwice(std::size_t size) {
        server.replyTo("/again", {});
        const std::string content(size, 'x');
        const std::string path = folder.write("notes.txt", content);
        EXPECT_EQ(outcomeOfSecondSending(path, [&] { folder.write("notes.txt", content + " and more"); }), "200");
        EXPECT_EQ(server.requests().size(), 2U);
        for (const auto& request : server.requests()) {
            EXPECT_EQ(request.header("Content-Length"), std::to_string(size));
            EXPECT_EQ(request.body, content);
            EXPECT_EQ(request.header("Expect") + request.header("Transfer-Encoding"), "(none)(none)");
        }
    }
};

TEST_F(CurlTransportFiles, GoOutWithTheLengthThatTheyHadWhenOpened) {
    expectTheFirstLengthTwice(FileBodyReader::largeBytes - 1);
}

TEST_F(CurlTransportFiles, GoOutWithTheLengthThatTheyHadWhenOpenedAlsoPieceByPiece) {
    expectTheFirstLengthTwice(FileBodyReader::largeBytes);
}

TEST_F(CurlTransportFiles, CutTheConnectionWhenTheyShrink) {
    const std::string path = folder.write("notes.txt", std::string(70'000, 'x'));
    EXPECT_EQ(outcomeOfSecondSending(path, [&] { std::filesystem::resize_file(path, 3); }),
              "The file \"" + path + "\" could not be sent: it became shorter meanwhile");
    server.waitForHangUps(1);
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(CurlTransportFiles, AreNotWaitedForWhereTheyAreNone) {
    const std::string pipe = folder.at("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, folder.string()}) {
        EXPECT_EQ(outcomeOfUpload(path), "The file \"" + path + "\" could not be sent: it is not a regular file");
    }
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(CurlTransportFiles, AreSentAtAnySizeWithoutBeingHeld) {
    const std::int64_t large = std::int64_t{64} << 20;
    const std::string path = folder.write("file", "");
    server.replies({{}, {}});
    EXPECT_EQ(outcomeOfUpload(path), "200");
    std::filesystem::resize_file(path, large); // a hole: it takes no memory of its own
    const auto peak = [] {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss; // KiB
    };
    const long before = peak();
    EXPECT_EQ(outcomeOfUpload(path), "200");
    EXPECT_LT(peak() - before, 16 << 10);
    EXPECT_EQ(server.requests().at(0).header("Content-Length"), "0");
    EXPECT_EQ(server.requests().at(1).bodyBytes, large);
}

} // namespace
} // namespace platform::testing
