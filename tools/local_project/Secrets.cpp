#include "local_project/Secrets.h"

#include "local_project/Digest.h"

#include <stdexcept>

#include <openssl/evp.h>
#include <openssl/rand.h>

namespace local_project {

namespace {

constexpr int passwordRounds = 1000;
constexpr std::size_t passwordDigestBytes = 32;

unsigned char* bytesOf(std::string& text) {
    return reinterpret_cast<unsigned char*>(text.data());
}

std::string randomBytes(std::size_t count) {
    std::string bytes(count, '\0');
    if (RAND_bytes(bytesOf(bytes), static_cast<int>(count)) != 1) {
        throw std::runtime_error("the crypto library gives no random bytes");
    }
    return bytes;
}

} // namespace

std::string randomToken(std::size_t bytes) {
    return hexOf(randomBytes(bytes));
}

std::string randomUuid() {
    std::string bytes = randomBytes(16);
    bytes[6] = static_cast<char>((bytes[6] & 0x0f) | 0x40);
    bytes[8] = static_cast<char>((bytes[8] & 0x3f) | 0x80);
    std::string text = hexOf(bytes);
    for (const std::size_t dash : {8U, 13U, 18U, 23U}) {
        text.insert(dash, 1, '-');
    }
    return text;
}

std::string passwordDigest(const std::string& password, const std::string& salt) {
    std::string digest(passwordDigestBytes, '\0');
    const auto* saltBytes = reinterpret_cast<const unsigned char*>(salt.data());
    if (PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()), saltBytes, static_cast<int>(salt.size()),
                          passwordRounds, EVP_sha256(), passwordDigestBytes, bytesOf(digest)) != 1) {
        throw std::runtime_error("the crypto library cannot derive a password digest");
    }
    return hexOf(digest);
}

} // namespace local_project
