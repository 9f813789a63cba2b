#include "local_project/ProjectFixture.h"

#include <utility>

namespace local_project {

namespace {

class AccountsTest : public ProjectFixture {
protected:
    std::vector<int> statusesOfAllFamilies() {
        return {status("GET", "/auth/v1/user"), upload("a", "text"), status("GET", "/rest/v1/files")};
    }
};

TEST_F(AccountsTest, RefusesWhatDoesNotFit) {
    run();
    const std::tuple<std::string, std::string, int> refused[] = {
        {"token?grant_type=password", R"({"email":"ada@example.com","password":"wrong"})", 400},
        {"token?grant_type=password", R"({"email":"nobody@example.com","password":"engine-one"})", 400},
        {"token?grant_type=refresh_token", R"({"refresh_token":"made up"})", 400},
        {"token", R"({"email":"ada@example.com","password":"engine-one"})", 400},
        {"token?grant_type=password", "no json", 400},
        {"signup", R"({"email":"z@example.com","password":"short"})", 422},
        {"signup", R"({"email":"Ada@example.com","password":"engine-one"})", 422},
    };
    for (const auto& [path, body, expected] : refused) {
        const Reply reply = send("POST", "/auth/v1/" + path, body);
        EXPECT_EQ(reply.status, expected) << path << " " << body;
        EXPECT_TRUE(reply.parsed().is_object());
    }
    options_.anonKey = "another";
    EXPECT_EQ(statusesOfAllFamilies(), (std::vector<int>{401, 401, 401}));
}

TEST_F(AccountsTest, TakesARefreshTokenOnceAndKeepsItOverARestart) {
    run();
    const json renewed = refresh(refreshToken_).parsed();
    EXPECT_EQ(renewed["user"]["email"], "ada@example.com");
    project_.reset();
    project_.emplace(options_).start();
    EXPECT_EQ(refresh(refreshToken_).status, 400);
    EXPECT_EQ(refresh(renewed["refresh_token"]).status, 200);
}

TEST_F(AccountsTest, RefusesAnExpiredTokenAsTheProfileSays) {
    options_.tokenLifetime = std::chrono::seconds(60);
    for (const auto& [profile, statuses] : std::map<RefusalProfile, std::vector<int>>{
             {RefusalProfile::unauthorized, {401, 401, 401}}, {RefusalProfile::deployed, {403, 400, 401}}}) {
        options_.profile = profile;
        run();
        now_ += std::chrono::seconds(59);
        EXPECT_EQ(statusesOfAllFamilies(), (std::vector<int>{200, 200, 200}));
        now_ += std::chrono::seconds(1);
        EXPECT_EQ(statusesOfAllFamilies(), statuses);
    }
}

TEST_F(AccountsTest, EndsTheSessionsThatTheScopeNames) {
    run();
    ASSERT_EQ(status("POST", "/auth/v1/logout"), 204);
    EXPECT_EQ(status("POST", "/auth/v1/logout"), 401) << "the token is gone";
    const std::tuple<std::string, int, int, int> cases[] = {
        // the scope, and what its own access token, its own renewed and the other session get afterwards
        {"", 401, 401, 401},
        {"?scope=global", 401, 401, 401},
        {"?scope=local", 401, 401, 200},
        {"?scope=others", 200, 200, 401},
    };
    for (const auto& [scope, own, renewed, other] : cases) {
        signIn("bob@example.com");
        const std::string bobs = accessToken_;
        signIn("ada@example.com");
        const std::string first = accessToken_;
        const std::string later = refresh(refreshToken_).parsed()["access_token"];
        signIn("ada@example.com");
        const auto statusWith = [&](const std::string& token) {
            accessToken_ = token;
            return status("GET", "/auth/v1/user");
        };
        const std::string second = std::exchange(accessToken_, first);
        ASSERT_EQ(status("POST", "/auth/v1/logout" + scope), 204) << scope;
        EXPECT_EQ((std::vector{statusWith(first), statusWith(later), statusWith(second), statusWith(bobs)}),
                  (std::vector{own, renewed, other, 200}))
            << scope;
        EXPECT_EQ(refresh(refreshToken_).status, other == 200 ? 200 : 400) << scope;
    }
    EXPECT_EQ(status("POST", "/auth/v1/logout?scope=mine"), 400);
    EXPECT_EQ(status("GET", "/auth/v1/user"), 200);
}

TEST_F(AccountsTest, SignsUpWithASessionOrAfterConfirmation) {
    run();
    const std::string account = R"({"email":"Kim@example.com","password":"secret-7"})";
    const json opened = send("POST", "/auth/v1/signup", account).parsed();
    EXPECT_TRUE(opened["session"]["access_token"].is_string());
    EXPECT_EQ(opened["user"]["email"], "kim@example.com");

    options_.signup = SignupPolicy::requiresConfirmation;
    run();
    const std::string later = R"({"email":"eve@example.com","password":"secret-7"})";
    EXPECT_TRUE(send("POST", "/auth/v1/signup", later).parsed()["session"].is_null());
    EXPECT_EQ(status("POST", "/auth/v1/token?grant_type=password", later), 400);
    EXPECT_EQ(status("POST", "/_local/confirm", "eve@example.com"), 204);
    EXPECT_EQ(status("POST", "/auth/v1/token?grant_type=password", later), 200);
}

TEST_F(AccountsTest, SignsUpWithTheTokensAtTheTopLevel) {
    options_.signupReply = SignupReply::topLevel;
    run();
    const json opened =
        send("POST", "/auth/v1/signup", R"({"email":"kim@example.com","password":"secret-7"})").parsed();
    EXPECT_FALSE(opened.contains("session"));
    EXPECT_EQ(opened["user"]["email"], "kim@example.com");
    accessToken_ = opened["access_token"];
    EXPECT_EQ(status("GET", "/auth/v1/user"), 200);
    options_.signup = SignupPolicy::requiresConfirmation;
    run();
    const json user = send("POST", "/auth/v1/signup", R"({"email":"eve@example.com","password":"secret-7"})").parsed();
    EXPECT_EQ(user["email"], "eve@example.com");
    EXPECT_FALSE(user.contains("user") || user.contains("access_token"));
}

} // namespace

} // namespace local_project
