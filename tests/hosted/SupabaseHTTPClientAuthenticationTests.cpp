#include "HostedFixture.h"

#include <filesystem>

namespace veskline::testing {
namespace {

using SupabaseHTTPClientAuthentication = HostedFixture;

const std::string json = " | content-type: application/json | ";

TEST_F(SupabaseHTTPClientAuthentication, SignsInAndKeepsTheSession) {
    server.reply({.body = R"({"access_token": "a", "refresh_token": "r", "user": {"id": "u", "email": "e", "x": 1}})"});
    const StoredSession expected{"a", "r", StoredUser{"u", "e"}};
    EXPECT_EQ(run([&] { return client.signIn("é @example.com", "p&\"w"); }), expected);
    EXPECT_EQ(sent(), Lines{"POST /auth/v1/token?grant_type=password" + json +
                            R"({"email":"é @example.com","password":"p&\"w"})"});
    EXPECT_EQ(run([&] { return client.currentSession(); }), expected);
}

TEST_F(SupabaseHTTPClientAuthentication, SavesNothingOfASignInThatFails) {
    const struct {
        ScriptedReply reply;
        std::string words;
    } cases[] = {
        {{.status = 401}, "Supabase session is unauthorized"},
        {{.status = 400, .body = R"({"message": "bad"})"}, "Supabase request failed with status 400"},
        {{.body = R"({"access_token": "a", "refresh_token": "r"})"}, "The value of \"user\" is missing"},
        {{.body = R"({"access_token": "a", "refresh_token": "r", "message": "m"})"}, "m"},
    };
    for (const auto& [reply, words] : cases) {
        server.reply(reply);
        EXPECT_EQ(failure([&] { return client.signIn("e", "p"); }), words);
    }
    EXPECT_EQ(failure([&] { return client.signIn("e", "\xFF"); }),
              "The value of \"password\" cannot be written as JSON: it is not valid UTF-8");
    EXPECT_EQ(server.requests().size(), std::size(cases));
    EXPECT_EQ(stored(), session("old"));
}

TEST_F(SupabaseHTTPClientAuthentication, SignsUpAsTheBodySays) {
    const std::optional<StoredUser> user = StoredUser{.id = "u"};
    const struct {
        const char* body;
        SignupAnswer answer;
    } cases[] = {
        {R"({"user": {"id": "u"}, "session": {"access_token": "a", "refresh_token": "r", "user": 5}})",
         {.session = StoredSession{"a", "r", user}, .user = user}},
        {R"({"session": {"access_token": "a", "refresh_token": "r"}})", {.session = StoredSession{"a", "r", {}}}},
        {R"({"user": {"id": "u"}, "session": null})", {.user = user}},
        {R"({"id": "u", "access_token": "a", "refresh_token": "r"})", {}},
    };
    for (const auto& [body, answer] : cases) {
        store(session("old"));
        server.reply({.body = body});
        const SignupAnswer given = run([&] { return client.signUp("e", "p"); });
        EXPECT_EQ(given.session, answer.session) << body;
        EXPECT_EQ(given.user, answer.user) << body;
        EXPECT_EQ(stored(), answer.session.value_or(session("old"))) << body;
    }
    EXPECT_EQ(sent().at(0), "POST /auth/v1/signup" + json + R"({"email":"e","password":"p"})");
    server.reply({.body = R"({"session": {"access_token": "a"}})"});
    EXPECT_EQ(failure([&] { return client.signUp("e", "p"); }), "The value of \"session.refresh_token\" is missing");
}

TEST_F(SupabaseHTTPClientAuthentication, AsksWhoTheUserIsAndRenewsAnExpiredSession) {
    server.replies({{.status = 401}, {.body = renewed("new")}, {.body = R"({"id": "u", "email": null})"}});
    EXPECT_EQ(run([&] { return client.currentUser(); }), StoredUser{.id = "u"});
    EXPECT_EQ(sent().size(), 3U);
    EXPECT_EQ(sent().back(), "GET /auth/v1/user | Authorization: Bearer new");
    EXPECT_EQ(stored(), session("new")); // with the old user: neither answer goes into the file

    run([&] { return sessionStore.clear(); });
    EXPECT_EQ(run([&] { return client.currentUser(); }), std::nullopt);
    EXPECT_EQ(sent().size(), 3U);
}

TEST_F(SupabaseHTTPClientAuthentication, RefreshTakesTheUserThatTheServiceNames) {
    server.reply({.body = R"({"access_token": "a", "refresh_token": "r", "user": {"id": "named"}})"});
    const StoredSession expected{"a", "r", StoredUser{.id = "named"}};
    EXPECT_EQ(run([&] { return client.refresh(session("old")); }), expected);
    EXPECT_EQ(stored(), expected);
}

TEST_F(SupabaseHTTPClientAuthentication, FailsWhereTheSessionCannotBeSaved) {
    std::filesystem::remove_all(folder.path());
    server.reply({.body = renewed("new")});
    EXPECT_TRUE(failure([&] { return client.refresh(session("old")); }).ends_with("No such file or directory"));
}

} // namespace
} // namespace veskline::testing
