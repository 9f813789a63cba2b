#include "platform/text/Characters.h"

#include "platform/text/Ascii.h"
#include "platform/text/IcuError.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <memory>

namespace platform {

namespace {

// Each ASCII character stands alone, but for the line break of two.
bool isSimple(std::string_view text) {
    return isAscii(text) && !text.contains('\r');
}

// Made once a thread: it takes longer to make one than to read a name with it.
icu::BreakIterator& characterBreaks() {
    thread_local const std::unique_ptr<icu::BreakIterator> breaks = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        requireIcu(status);
        return made;
    }();
    return *breaks;
}

} // namespace

std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> found;
    found.reserve(text.size());
    if (isSimple(text)) {
        for (std::size_t at = 0; at < text.size(); ++at) {
            found.push_back(text.substr(at, 1));
        }
        return found;
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUTextPointer source(
        utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status));
    requireIcu(status);
    icu::BreakIterator& breaks = characterBreaks();
    breaks.setText(source.getAlias(), status);
    requireIcu(status);
    std::int32_t start = breaks.first();
    for (std::int32_t end = breaks.next(); end != icu::BreakIterator::DONE; start = end, end = breaks.next()) {
        found.push_back(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
    }
    return found;
}

bool isLetterOrNumber(std::string_view character) {
    UChar32 first = U_SENTINEL; // stays where there is no character, and stands for what is no UTF-8
    if (!character.empty()) {
        std::int32_t at = 0;
        // NOLINTNEXTLINE(bugprone-inc-dec-in-conditions): within ICU's macro
        U8_NEXT(character.data(), at, static_cast<std::int32_t>(character.size()), first);
    }
    return first >= 0 && (U_GET_GC_MASK(first) & (U_GC_L_MASK | U_GC_N_MASK)) != 0;
}

} // namespace platform
