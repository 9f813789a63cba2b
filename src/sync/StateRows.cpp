#include "sync/StateRows.h"

#include "platform/files/FileDigest.h"
#include "state/LocalDatabase.h"

#include <algorithm>
#include <optional>

namespace veskline {

namespace {

// Of a row whose digest is none, or zeros; no content has either.
constexpr std::uint8_t otherText = 0xFF;

constexpr std::uint8_t noDigit = 0xFF;

// What each character stands for as a lowercase hexadecimal digit.
constexpr std::array<std::uint8_t, 256> digitValues = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(noDigit);
    for (std::uint8_t value = 0; const char digit : std::string_view("0123456789abcdef")) {
        values[static_cast<unsigned char>(digit)] = value++;
    }
    return values;
}();

} // namespace

StateRows::StateRows(const platform::PathList& files) : files_(files) {
    kept_.appendZeros(files.size());
}

void StateRows::add(const FileStateRowView& row) {
    const std::optional<std::size_t> index = files_.find(row.path(), expected_);
    if (index) {
        expected_ = *index + 1;
        kept_[*index] = Kept{.attributes = {.bytes = row.bytes(), .mtimeMilliseconds = row.mtimeMilliseconds()},
                             .digest = digestOf(row.sha256())};
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
    if (sha256.size() != 2 * digest.size()) {
        return digest;
    }
    std::uint8_t seen = 0;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        const std::uint8_t high = digitValues[static_cast<unsigned char>(sha256[2 * i])];
        const std::uint8_t low = digitValues[static_cast<unsigned char>(sha256[2 * i + 1])];
        digest[i] = static_cast<std::uint8_t>(high << 4U | low);
        seen |= high | low;
    }
    if (seen == noDigit || digest == Digest()) {
        digest.fill(otherText);
    }
    return digest;
}

} // namespace veskline
