#pragma once

#include <memory>
#include <openssl/types.h>
#include <span>
#include <stdexcept>
#include <vector>

namespace platform {

// The system's cryptography library refused: its configuration does not allow the algorithm, or memory ran out.
class DigestError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A digest algorithm of the system's cryptography library (OpenSSL, EVP_MD_fetch(3)). Looking one up takes longer than
// digesting a name with it, so each is looked up once and kept. Any thread may use it.
class DigestAlgorithm {
public:
    // `properties` narrow down which implementations will do; null takes what the system is configured for.
    // Throws DigestError where there is none: a FIPS configuration has no MD5.
    explicit DigestAlgorithm(const char* name, const char* properties = nullptr);

    class Running;
    [[nodiscard]] Running begin() const;

private:
    friend class Running;
    struct Free {
        void operator()(EVP_MD* algorithm) const noexcept;
    };
    std::unique_ptr<EVP_MD, Free> algorithm_;
};

// One digest being computed, fed in pieces. `finish` ends it.
class DigestAlgorithm::Running {
public:
    explicit Running(const DigestAlgorithm& algorithm);
    void update(std::span<const unsigned char> bytes);
    [[nodiscard]] std::vector<unsigned char> finish();

private:
    struct Free {
        void operator()(EVP_MD_CTX* context) const noexcept;
    };
    std::unique_ptr<EVP_MD_CTX, Free> context_;
};

} // namespace platform
