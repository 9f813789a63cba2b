#pragma once

#include <array>
#include <atomic>
#include <span>
#include <string>
#include <string_view>

namespace platform {

using Sha256Digest = std::array<unsigned char, 32>;
using Md5Digest = std::array<unsigned char, 16>;

// SHA-256 of a file's content (FIPS 180-4), read in blocks of 64 KiB whatever its size. Follows links, never waits for
// a pipe's other end. Blocks the caller; any thread.
//
// Throws FileError for a file that cannot be opened, is no regular file, or cannot be read to its end: there is no
// digest of nothing then. Once `*stop` is true it throws FileError at the next block. Throws DigestError where the
// system refuses the algorithm.
[[nodiscard]] Sha256Digest sha256OfFile(const std::string& path, const std::atomic<bool>* stop = nullptr);

// MD5 of some bytes (RFC 1321): a short fingerprint of a text, no protection. Throws DigestError where the system
// refuses it, as a FIPS configuration does.
[[nodiscard]] Md5Digest md5Of(std::string_view bytes);

// Two lowercase hexadecimal digits for each byte.
[[nodiscard]] std::string hexadecimal(std::span<const unsigned char> bytes);

} // namespace platform
