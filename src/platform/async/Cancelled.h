#pragma once

#include <stdexcept>

namespace async {

// How a sleep or an HTTP exchange of a cancelled task ends. Cancellation is sticky: each later one ends so at once.
class Cancelled : public std::runtime_error {
public:
    Cancelled() : std::runtime_error("The operation was cancelled") {}
};

} // namespace async
