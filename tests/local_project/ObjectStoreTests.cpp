#include "local_project/Digest.h"
#include "local_project/ProjectFixture.h"

#include <fstream>
#include <sstream>

#include <fmt/format.h>

namespace local_project {

using nlohmann::json;

namespace {

class ObjectStoreTest : public ProjectFixture {
protected:
    static std::string contentOf(const std::filesystem::path& file) {
        std::ostringstream text;
        text << std::ifstream(file, std::ios::binary).rdbuf();
        return text.str();
    }

    std::ptrdiff_t filesOnDisk() {
        return std::distance(std::filesystem::directory_iterator(options_.data / "objects"), {});
    }
};

TEST_F(ObjectStoreTest, KeepsTheBytesUnderTheDecodedKey) {
    run();
    const std::string content(3'000'000, 'x');
    EXPECT_EQ(upload("user-1/r%C3%A9sum%C3%A9%20+1.txt", content).status, 200);
    const json object = only("objects");
    EXPECT_EQ(object["key"], "user-1/résumé +1.txt");
    EXPECT_EQ(object["bytes"], content.size());
    EXPECT_EQ(object["sha256"], Digest::of(content));
    EXPECT_EQ(object["content_type"], "text/plain");
    EXPECT_EQ(object["cache_control"], "max-age=3600");
    EXPECT_EQ(contentOf(object["file"]), content);
}

TEST_F(ObjectStoreTest, ReplacesAnObjectOnlyWhenAsked) {
    run();
    upload("a", "first");
    EXPECT_EQ(send("POST", "/storage/v1/object/files/a", "second").status, 409);
    EXPECT_EQ(contentOf(only("objects")["file"]), "first");
    EXPECT_EQ(upload("a", "second").status, 200);
    EXPECT_EQ(contentOf(only("objects")["file"]), "second");
    EXPECT_EQ(filesOnDisk(), 1);
    signIn("bob@example.com");
    EXPECT_EQ(upload("a", "third").status, 403);
    EXPECT_EQ(send("POST", "/storage/v1/object/files/", "third").status, 400);
}

TEST_F(ObjectStoreTest, KeepsTheOlderObjectWhenAnUploadIsCut) {
    run();
    upload("a", "first");
    project_->faults().add(json{{"kind", "cut-upload"}, {"bytes", 1000}});
    EXPECT_EQ(upload("a", std::string(5000, 'y')).status, 0);
    exchangeRaw(project_->port(), fmt::format("POST /storage/v1/object/files/a HTTP/1.1\r\napikey: {}\r\n"
                                              "Authorization: Bearer {}\r\nx-upsert: true\r\n"
                                              "Content-Length: 5000\r\n\r\nyyyy",
                                              options_.anonKey, accessToken_));
    EXPECT_EQ(contentOf(only("objects")["file"]), "first");
    EXPECT_EQ(filesOnDisk(), 1);
}

TEST_F(ObjectStoreTest, TakesAChunkedUploadThatWaitsToBeAskedFor) {
    run();
    const std::string answer = exchangeRaw(
        project_->port(),
        fmt::format("POST /storage/v1/object/files/a HTTP/1.1\r\napikey: {}\r\nAuthorization: Bearer {}\r\n"
                    "Expect: 100-continue\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n",
                    options_.anonKey, accessToken_));
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK")) << answer;
    EXPECT_EQ(contentOf(only("objects")["file"]), "abcde");
}

TEST_F(ObjectStoreTest, RemovesTheRestsOfAKilledRun) {
    run();
    upload("a", "first");
    project_.reset();
    std::ofstream(options_.data / "objects" / "half") << "hal";
    run();
    EXPECT_EQ(filesOnDisk(), 1);
    EXPECT_EQ(contentOf(only("objects")["file"]), "first");
}

} // namespace

} // namespace local_project
