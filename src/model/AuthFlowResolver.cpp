#include "model/AuthFlowResolver.h"

namespace veskline::AuthFlowResolver {

SignupResolution resolveSignup(const std::optional<StoredSession>& session, const std::optional<StoredUser>& user) {
    if (!session) {
        return SignupResolution{
            .currentUser = std::nullopt,
            .authStatus = "Check your email to confirm your account, then log in.",
            .logLine = std::nullopt,
            .clearPassword = false,
            .clearPersistedSession = true,
        };
    }
    const std::optional<StoredUser>& effectiveUser = session->user ? session->user : user;
    return SignupResolution{
        .currentUser = effectiveUser,
        .authStatus = "Account created",
        .logLine = "Signup complete. Logged in as " + userLogLabel(effectiveUser),
        .clearPassword = true,
        .clearPersistedSession = false,
    };
}

std::string userLogLabel(const std::optional<StoredUser>& user) {
    if (!user) {
        return "user";
    }
    return user->email.value_or(user->id);
}

} // namespace veskline::AuthFlowResolver
