#include "Browser.h"
#include "support/ScriptedServer.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>

namespace platform::testing {
namespace {

using veskline::testing::ScriptedReply;
using veskline::testing::ScriptedServer;

struct Upload {
    HttpRequest of(const std::string& path) const {
        return {.method = "POST", .url = server.url() + "/object", .body = FileBody{path}};
    }
    // Sends a file that `change` alters between a first sending, which the server redirects, and the second.
    template <class Change>
    std::string outcomeOfSecondSending(const std::string& path, Change change) {
        server.replies({{.status = 307, .headers = {{"Location", "/again"}}, .isHeld = true}, {}});
        std::string outcome;
        std::thread sender([&] { outcome = browser.outcome(of(path)); });
        server.waitForRequests(1);
        change();
        server.release();
        sender.join();
        return outcome;
    }

    ScriptedServer server;
    Browser browser;
    TemporaryFolder folder;
};

TEST(CurlTransport, SendsAFileWithTheLengthThatItHadWhenOpened) {
    Upload upload;
    const std::string path = upload.folder.write("notes.txt", "twelve bytes");
    const auto grow = [&] { upload.folder.write("notes.txt", "twelve bytes and more"); };

    EXPECT_EQ(upload.outcomeOfSecondSending(path, grow), "200");
    for (const auto& request : upload.server.requests()) {
        EXPECT_EQ(request.header("Content-Length") + ": " + request.body, "12: twelve bytes");
        EXPECT_EQ(request.header("Expect") + request.header("Transfer-Encoding"), "(none)(none)");
    }
}

TEST(CurlTransport, CutsTheConnectionWhenTheFileShrinks) {
    Upload upload;
    const std::string path = upload.folder.write("notes.txt", "twelve bytes");
    const auto shrink = [&] { std::filesystem::resize_file(path, 3); };

    EXPECT_EQ(upload.outcomeOfSecondSending(path, shrink),
              "The file \"" + path + "\" could not be sent: it became shorter meanwhile");
    upload.server.waitForHangUps(1);
    EXPECT_EQ(upload.server.requests().size(), 1U);
}

TEST(CurlTransport, SendsNothingOfAFileThatCannotBeRead) {
    Upload upload;
    const std::string missing = upload.folder.at("missing");
    EXPECT_EQ(upload.browser.outcome(upload.of(missing)),
              "The file \"" + missing + "\" could not be opened: No such file or directory");
    const std::string pipe = upload.folder.at("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, upload.folder.string()}) {
        EXPECT_EQ(upload.browser.outcome(upload.of(path)),
                  "The file \"" + path + "\" could not be sent: it is not a regular file");
    }
    EXPECT_TRUE(upload.server.requests().empty());
}

TEST(CurlTransport, SendsEmptyAndLargeFilesWithoutHoldingThem) {
    Upload upload;
    const std::int64_t large = std::int64_t{64} << 20;
    const std::string path = upload.folder.write("file", "");
    upload.server.replies({{}, {}});
    EXPECT_EQ(upload.browser.outcome(upload.of(path)), "200");
    std::filesystem::resize_file(path, large); // a hole: it takes no memory of its own
    const auto peak = [] {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss; // KiB
    };
    const long before = peak();

    EXPECT_EQ(upload.browser.outcome(upload.of(path)), "200");

    EXPECT_LT(peak() - before, 16 << 10);
    EXPECT_EQ(upload.server.requests().at(0).header("Content-Length"), "0");
    EXPECT_EQ(upload.server.requests().at(1).bodyBytes, large);
}

TEST(CurlTransport, TakesAnAnswerThatComesBeforeTheBodyIsSent) {
    Upload upload;
    const std::string path = upload.folder.write("file", "");
    std::filesystem::resize_file(path, 64 << 20);
    upload.server.reply({.status = 413, .comesEarly = true});
    EXPECT_EQ(upload.browser.outcome(upload.of(path)), "413");
    upload.server.reply({.cut = ScriptedReply::Cut::beforeHeaders, .comesEarly = true});
    EXPECT_TRUE(upload.browser.outcome(upload.of(path)).starts_with("The connection to the server was lost: "));
}

} // namespace
} // namespace platform::testing
