#include "model/AuthFlowResolver.h"

#include <gtest/gtest.h>

using namespace veskline;

TEST(AuthFlowResolver, DecidesEverySignup) {
    const StoredUser inside{.id = "u1", .email = "in@example.com"};
    const StoredUser beside{.id = "u2", .email = std::nullopt};
    const StoredSession bare{.accessToken = "a", .refreshToken = "r", .user = std::nullopt};
    const StoredSession full{.accessToken = "a", .refreshToken = "r", .user = inside};
    const SignupResolution unconfirmed{.currentUser = std::nullopt,
                                       .authStatus = "Check your email to confirm your account, then log in.",
                                       .logLine = std::nullopt,
                                       .clearPassword = false,
                                       .clearPersistedSession = true};
    const auto created = [](std::optional<StoredUser> user, const std::string& label) {
        return SignupResolution{.currentUser = std::move(user),
                                .authStatus = "Account created",
                                .logLine = "Signup complete. Logged in as " + label,
                                .clearPassword = true,
                                .clearPersistedSession = false};
    };
    struct Row {
        const char* name;
        std::optional<StoredSession> session;
        std::optional<StoredUser> user;
        SignupResolution expected;
    };
    const Row rows[] = {
        {"nothing", std::nullopt, std::nullopt, unconfirmed},
        {"a user without a session is ignored", std::nullopt, beside, unconfirmed},
        {"the session's user counts first", full, beside, created(inside, "in@example.com")},
        {"else the one beside it, by id", bare, beside, created(beside, "u2")},
        {"nobody at all", bare, std::nullopt, created(std::nullopt, "user")},
        {"an empty address is an address", bare, StoredUser{.id = "u3", .email = ""},
         created(StoredUser{.id = "u3", .email = ""}, "")},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(AuthFlowResolver::resolveSignup(row.session, row.user), row.expected) << row.name;
    }
}
