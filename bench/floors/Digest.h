#pragma once

#include <openssl/evp.h>

#include <memory>
#include <string>

namespace floors {

// SHA-256 of an open file, read in blocks of 64 KiB into one buffer, with one context for all files.
class Digest {
public:
    // Reads from where the file stands to its end.
    [[nodiscard]] std::string hexadecimal(int file);

private:
    static constexpr std::size_t blockBytes = 65536;

    EVP_MD* algorithm_ = EVP_MD_fetch(nullptr, "SHA256", nullptr); // held to the end of the process
    EVP_MD_CTX* context_ = EVP_MD_CTX_new();
    std::unique_ptr<unsigned char[]> block_ = std::make_unique_for_overwrite<unsigned char[]>(blockBytes);
};

} // namespace floors
