#pragma once

#include "state/records/SignupResolution.h"
#include "state/records/StoredSession.h"

#include <optional>
#include <string>

// What the answer to a sign-up means. Pure functions.
namespace veskline::AuthFlowResolver {

// Without a session the account waits for its confirmation: nobody is signed in, whatever user came along, and a
// session stored before has to go. With one, its user counts before the one beside it.
[[nodiscard]] SignupResolution resolveSignup(const std::optional<StoredSession>& session,
                                             const std::optional<StoredUser>& user);

// How the log names a user: by e-mail, else by id, else "user".
[[nodiscard]] std::string userLogLabel(const std::optional<StoredUser>& user);

} // namespace veskline::AuthFlowResolver
