#include "sync/StateRows.h"

#include "platform/files/FileDigest.h"

#include <algorithm>
#include <optional>

namespace veskline {

namespace {

constexpr std::string_view digits = "0123456789abcdef";

// Of a row whose digest is none, or zeros; no content has either.
constexpr std::uint8_t otherText = 0xFF;

} // namespace

StateRows::StateRows(const platform::PathList& files) : files_(files) {
    kept_.appendZeros(files.size());
}

void StateRows::add(const FileStateRowView& row) {
    const std::optional<std::size_t> index = files_.find(row.path, expected_);
    if (index) {
        expected_ = *index + 1;
        kept_[*index] = Kept{.attributes = {.bytes = row.bytes, .mtimeMilliseconds = row.mtimeMilliseconds},
                             .digest = digestOf(row.sha256)};
        return;
    }
    gone_.push_back(row.row());
}

bool StateRows::has(std::size_t index, const platform::FileAttributes& attributes) const noexcept {
    return has(index) && kept_[index].attributes == attributes;
}

std::string StateRows::sha256(std::size_t index) const {
    const Digest& digest = kept_[index].digest;
    const bool isOther = std::ranges::all_of(digest, [](std::uint8_t byte) { return byte == otherText; });
    return isOther ? std::string() : platform::hexadecimal(digest);
}

// Only what would be written in the same way again counts as a digest.
StateRows::Digest StateRows::digestOf(std::string_view sha256) noexcept {
    Digest digest;
    digest.fill(otherText);
    if (sha256.size() != 2 * digest.size() || sha256.find_first_not_of(digits) != std::string_view::npos) {
        return digest;
    }
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<std::uint8_t>(digits.find(sha256[2 * i]) << 4U | digits.find(sha256[2 * i + 1]));
    }
    if (digest == Digest()) {
        digest.fill(otherText);
    }
    return digest;
}

} // namespace veskline
