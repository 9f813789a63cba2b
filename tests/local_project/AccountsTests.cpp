#include "local_project/ProjectFixture.h"

#include <fmt/format.h>

namespace local_project {

using nlohmann::json;

namespace {

class AccountsTest : public ProjectFixture {
protected:
    Reply refresh(const std::string& token) {
        return send("POST", "/auth/v1/token?grant_type=refresh_token",
                    fmt::format(R"({{"refresh_token":"{}"}})", token));
    }

    std::vector<int> statusesOfAllFamilies() {
        return {send("GET", "/auth/v1/user").status, upload("a", "text").status, send("GET", "/rest/v1/files").status};
    }
};

TEST_F(AccountsTest, SignsInAndTellsWhoHoldsTheToken) {
    run();
    const json user = send("GET", "/auth/v1/user").json();
    EXPECT_EQ(user["id"], userId_);
    EXPECT_EQ(user["email"], "ada@example.com");
}

TEST_F(AccountsTest, RefusesWhatDoesNotFit) {
    run();
    const std::vector<std::pair<std::string, std::string>> refused = {
        {"token?grant_type=password", R"({"email":"ada@example.com","password":"wrong"})"},
        {"token?grant_type=password", R"({"email":"nobody@example.com","password":"engine-one"})"},
        {"token?grant_type=refresh_token", R"({"refresh_token":"made up"})"},
        {"token?grant_type=magic", R"({})"},
        {"token", R"({"email":"ada@example.com","password":"engine-one"})"},
        {"token?grant_type=password", "no json"},
    };
    for (const auto& [path, body] : refused) {
        const Reply reply = send("POST", "/auth/v1/" + path, body);
        EXPECT_EQ(reply.status, 400) << path << " " << body;
        EXPECT_TRUE(reply.json().is_object());
    }
}

TEST_F(AccountsTest, RefusesEveryRequestWithoutTheApiKey) {
    run();
    for (const char* path : {"/auth/v1/user", "/rest/v1/files", "/storage/v1/object/files/a"}) {
        EXPECT_EQ(send("GET", path, {}, {{"apikey", "another"}}).status, 401) << path;
    }
}

TEST_F(AccountsTest, TakesARefreshTokenOnce) {
    run();
    const json renewed = refresh(refreshToken_).json();
    EXPECT_EQ(renewed["user"]["id"], userId_);
    EXPECT_EQ(refresh(refreshToken_).status, 400);
    EXPECT_EQ(refresh(renewed["refresh_token"]).status, 200);
}

TEST_F(AccountsTest, RefusesAnExpiredTokenAsTheProfileSays) {
    options_.tokenLifetime = std::chrono::seconds(60);
    for (const auto& [profile, statuses] : std::map<RefusalProfile, std::vector<int>>{
             {RefusalProfile::unauthorized, {401, 401, 401}}, {RefusalProfile::deployed, {403, 400, 401}}}) {
        options_.profile = profile;
        run();
        advance(std::chrono::seconds(59));
        EXPECT_EQ(statusesOfAllFamilies(), (std::vector<int>{200, 200, 200}));
        advance(std::chrono::seconds(1));
        EXPECT_EQ(statusesOfAllFamilies(), statuses);
    }
}

TEST_F(AccountsTest, ExpiresAndRevokesOnDemand) {
    run();
    EXPECT_EQ(send("POST", "/_local/tokens/expire").status, 204);
    EXPECT_EQ(send("GET", "/auth/v1/user").status, 401);
    EXPECT_EQ(send("POST", "/_local/tokens/revoke").status, 204);
    EXPECT_EQ(refresh(refreshToken_).status, 400);
}

TEST_F(AccountsTest, SignsUpWithASessionOrAfterConfirmation) {
    const std::string fresh = R"({"email":"Eve@example.com","password":"secret-6"})";
    run();
    const json opened = send("POST", "/auth/v1/signup", fresh).json();
    EXPECT_TRUE(opened["session"]["access_token"].is_string());
    EXPECT_EQ(opened["user"]["email"], "eve@example.com");
    EXPECT_EQ(send("POST", "/auth/v1/signup", fresh).status, 422);
    EXPECT_EQ(send("POST", "/auth/v1/signup", R"({"email":"z@example.com","password":"short"})").status, 422);

    options_.signup = SignupPolicy::requiresConfirmation;
    run();
    const std::string later = R"({"email":"kim@example.com","password":"secret-7"})";
    EXPECT_TRUE(send("POST", "/auth/v1/signup", later).json()["session"].is_null());
    EXPECT_EQ(send("POST", "/auth/v1/token?grant_type=password", later).status, 400);
    EXPECT_EQ(send("POST", "/_local/confirm", "kim@example.com").status, 204);
    EXPECT_EQ(send("POST", "/auth/v1/token?grant_type=password", later).status, 200);
}

} // namespace

} // namespace local_project
