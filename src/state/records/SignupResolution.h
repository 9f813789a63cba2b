#pragma once

#include "state/records/StoredUser.h"

#include <optional>
#include <string>

namespace veskline {

// The outcome of a sign-up, for the model to apply.
struct SignupResolution {
    std::optional<StoredUser> currentUser; // the user to show as signed in
    std::string authStatus;                // the status line
    std::optional<std::string> logLine;    // a line for the activity log
    bool clearPassword = false;            // whether the password field is to be emptied
    bool clearPersistedSession = false;    // whether the stored session is to be removed

    friend bool operator==(const SignupResolution&, const SignupResolution&) = default;
};

} // namespace veskline
