#pragma once

#include <stdexcept>
#include <string>

namespace platform {

// An HTTP exchange could not be carried out: no connection, a time-out, a lost connection, an answer that is too large.
// Its words are for the user and name the server at most: never a path, a query, a header or a token.
class TransportError : public std::runtime_error {
public:
    explicit TransportError(const std::string& words) : std::runtime_error(words) {}
};

} // namespace platform
