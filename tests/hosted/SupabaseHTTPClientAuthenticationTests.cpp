#include "HostedFixture.h"

namespace veskline::testing {
namespace {

using SupabaseHTTPClientAuthentication = HostedFixture;

TEST_F(SupabaseHTTPClientAuthentication, SignsInAndKeepsTheSession) {
    server.reply({.body = R"({"access_token": "a", "refresh_token": "r", "user": {"id": "u", "email": "e", "x": 1}})"});
    run([&] { return client.signIn("é @example.com", "p&\"w"); });
    EXPECT_EQ(sent(), Lines{"POST /auth/v1/token?grant_type=password" + json +
                            R"({"email":"é @example.com","password":"p&\"w"})"});
    EXPECT_EQ(run([&] { return client.currentSession(); }), (StoredSession{"a", "r", StoredUser{"u", "e"}}));
}

TEST_F(SupabaseHTTPClientAuthentication, SavesNothingOfASignInThatFails) {
    const std::pair<ScriptedReply, std::string> cases[] = {
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
    const std::pair<const char*, SignupAnswer> cases[] = {
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
}

TEST_F(SupabaseHTTPClientAuthentication, AsksWhoTheUserIsAndRenewsAnExpiredSession) {
    server.replies({{.status = 401}, {.body = renewed("new")}, {.body = R"({"id": "u", "email": null})"}});
    EXPECT_EQ(run([&] { return client.currentUser(); }), StoredUser{.id = "u"});
    EXPECT_EQ(sent().back(), "GET /auth/v1/user | Authorization: Bearer new");
    EXPECT_EQ(stored(), session("new")); // with the old user: neither answer goes into the file

    server.reply({.body = R"({"access_token": "a", "refresh_token": "r", "user": {"id": "named"}})"});
    run([&] { return client.refresh(session("old")); });
    EXPECT_EQ(stored(), (StoredSession{"a", "r", StoredUser{.id = "named"}}));

    run([&] { return sessionStore.clear(); });
    EXPECT_EQ(run([&] { return client.currentUser(); }), std::nullopt);
    EXPECT_EQ(sent().size(), 4U);
}

} // namespace
} // namespace veskline::testing
