#pragma once

#include <memory>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace local_project {

// A SHA-256 fed in pieces. Throws std::runtime_error where the crypto library refuses.
class Digest {
public:
    Digest();

    void update(std::string_view piece);

    // Lowercase hexadecimal of everything fed so far; ends the digest.
    [[nodiscard]] std::string hex();

    [[nodiscard]] static std::string of(std::string_view text);

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const;
    };

    std::unique_ptr<evp_md_ctx_st, Free> context_;
};

// Two lowercase digits a byte.
[[nodiscard]] std::string hexOf(std::string_view bytes);

} // namespace local_project
