#include "platform/files/DigestAlgorithm.h"

#include <array>
#include <fmt/format.h>
#include <openssl/err.h>
#include <openssl/evp.h>

namespace platform {

namespace {

// What the library says of its last failure, which it also forgets.
std::string lastReason() {
    std::array<char, 256> reason{};
    ERR_error_string_n(ERR_peek_last_error(), reason.data(), reason.size());
    ERR_clear_error();
    return reason.data();
}

void require(bool succeeded) {
    if (!succeeded) {
        throw DigestError("The system's cryptography library failed: " + lastReason());
    }
}

} // namespace

void DigestAlgorithm::Free::operator()(EVP_MD* algorithm) const noexcept {
    EVP_MD_free(algorithm);
}

DigestAlgorithm::DigestAlgorithm(const char* name, const char* properties)
    : algorithm_(EVP_MD_fetch(nullptr, name, properties)) {
    if (!algorithm_) {
        throw DigestError(fmt::format("The system's cryptography library does not offer {}, as in a FIPS "
                                      "configuration: {}",
                                      name, lastReason()));
    }
}

DigestAlgorithm::Running DigestAlgorithm::begin() const {
    return Running(*this);
}

void DigestAlgorithm::Running::Free::operator()(EVP_MD_CTX* context) const noexcept {
    EVP_MD_CTX_free(context);
}

DigestAlgorithm::Running::Running(const DigestAlgorithm& algorithm) : context_(EVP_MD_CTX_new()) {
    require(context_ && EVP_DigestInit_ex2(context_.get(), algorithm.algorithm_.get(), nullptr) == 1);
}

void DigestAlgorithm::Running::update(std::span<const unsigned char> bytes) {
    require(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1);
}

std::vector<unsigned char> DigestAlgorithm::Running::finish() {
    std::vector<unsigned char> digest(EVP_MAX_MD_SIZE);
    unsigned int length = 0;
    require(EVP_DigestFinal_ex(context_.get(), digest.data(), &length) == 1);
    digest.resize(length);
    return digest;
}

} // namespace platform
