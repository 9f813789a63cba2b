#pragma once

#include <cstddef>
#include <string>

namespace local_project {

// What must not be guessed, from the crypto library's generator. All throw std::runtime_error where it fails.

// A token of `bytes` random bytes in hexadecimal.
[[nodiscard]] std::string randomToken(std::size_t bytes = 32);

// A version 4 UUID (RFC 4122, section 4.4) in lower case.
[[nodiscard]] std::string randomUuid();

// What is kept of a password. Few rounds: these accounts live on one's own machine, and every test signs in.
[[nodiscard]] std::string passwordDigest(const std::string& password, const std::string& salt);

} // namespace local_project
