#include "local_project/Digest.h"

#include <stdexcept>

#include <openssl/evp.h>

namespace local_project {

namespace {

void require(int result) {
    if (result != 1) {
        throw std::runtime_error("SHA-256 is not available from the crypto library");
    }
}

// Fetched once: an implicit fetch at every digest costs more than digesting a small document.
const EVP_MD* algorithm() {
    static EVP_MD* const fetched = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return fetched;
}

} // namespace

void Digest::Free::operator()(evp_md_ctx_st* context) const {
    EVP_MD_CTX_free(context);
}

Digest::Digest() : context_(EVP_MD_CTX_new()) {
    require(EVP_DigestInit_ex2(context_.get(), algorithm(), nullptr));
}

void Digest::update(std::string_view piece) {
    require(EVP_DigestUpdate(context_.get(), piece.data(), piece.size()));
}

std::string Digest::hex() {
    std::string bytes(EVP_MAX_MD_SIZE, '\0');
    unsigned size = 0;
    require(EVP_DigestFinal_ex(context_.get(), reinterpret_cast<unsigned char*>(bytes.data()), &size));
    return hexOf(std::string_view(bytes).substr(0, size));
}

std::string Digest::of(std::string_view text) {
    Digest digest;
    digest.update(text);
    return digest.hex();
}

std::string hexOf(std::string_view bytes) {
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4U];
        text += digits[value & 15U];
    }
    return text;
}

} // namespace local_project
