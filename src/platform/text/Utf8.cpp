#include "platform/text/Utf8.h"

#include <cstdint>
#include <cstring>

namespace platform {
namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

struct Sequence {
    std::size_t length; // of the character, or of the broken part that one replacement character stands for
    bool isValid;
};

// What may follow a lead byte: the range of the first continuation byte is narrower for some leads.
struct LeadByte {
    std::size_t length;
    unsigned char lowest;
    unsigned char highest;
};

LeadByte leadByte(unsigned char byte) noexcept {
    if (byte >= 0xC2 && byte <= 0xDF) {
        return {2, 0x80, 0xBF};
    }
    if (byte == 0xE0) {
        return {3, 0xA0, 0xBF};
    }
    if (byte == 0xED) {
        return {3, 0x80, 0x9F};
    }
    if (byte >= 0xE1 && byte <= 0xEF) {
        return {3, 0x80, 0xBF};
    }
    if (byte == 0xF0) {
        return {4, 0x90, 0xBF};
    }
    if (byte == 0xF4) {
        return {4, 0x80, 0x8F};
    }
    if (byte >= 0xF1 && byte <= 0xF3) {
        return {4, 0x80, 0xBF};
    }
    return {0, 0, 0};
}

Sequence firstSequence(std::string_view text) noexcept {
    const auto byteAt = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    if (byteAt(0) < 0x80) {
        return {1, true};
    }
    const LeadByte lead = leadByte(byteAt(0));
    if (lead.length == 0 || text.size() < 2 || byteAt(1) < lead.lowest || byteAt(1) > lead.highest) {
        return {1, false};
    }
    for (std::size_t at = 2; at < lead.length; ++at) {
        if (at == text.size() || (byteAt(at) & 0xC0) != 0x80) {
            return {at, false};
        }
    }
    return {lead.length, true};
}

// Nearly every name is ASCII: eight bytes at a time.
std::size_t asciiPrefix(std::string_view text) noexcept {
    std::size_t at = 0;
    for (std::uint64_t eight = 0; at + sizeof eight <= text.size(); at += sizeof eight) {
        std::memcpy(&eight, text.data() + at, sizeof eight);
        if ((eight & 0x8080808080808080U) != 0) {
            break;
        }
    }
    while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80) {
        ++at;
    }
    return at;
}

std::size_t validPrefix(std::string_view text) noexcept {
    std::size_t at = asciiPrefix(text);
    while (at < text.size()) {
        const Sequence sequence = firstSequence(text.substr(at));
        if (!sequence.isValid) {
            break;
        }
        at += sequence.length;
        at += asciiPrefix(text.substr(at));
    }
    return at;
}

} // namespace

bool isValidUtf8(std::string_view text) noexcept {
    return validPrefix(text) == text.size();
}

std::string withReplacementCharacters(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const std::size_t valid = validPrefix(text);
        shown.append(text.substr(0, valid));
        text.remove_prefix(valid);
        if (text.empty()) {
            break;
        }
        shown.append(replacementCharacter);
        text.remove_prefix(firstSequence(text).length);
    }
    return shown;
}

} // namespace platform
