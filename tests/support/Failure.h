#pragma once

#include <exception>
#include <string>

namespace veskline::testing {

// The words of what `action` throws.
template <class Action>
std::string failureOf(Action action) {
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no failure";
}

} // namespace veskline::testing
