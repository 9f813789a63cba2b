#include "platform/text/Folding.h"

#include "platform/text/Ascii.h"
#include "platform/text/IcuError.h"

#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>

namespace platform {

namespace {

icu::UnicodeString normalized(const icu::UnicodeString& text, bool composed) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* form = composed ? icu::Normalizer2::getNFCInstance(status) : icu::Normalizer2::getNFDInstance(status);
    requireIcu(status);
    icu::UnicodeString result = form->normalize(text, status);
    requireIcu(status);
    return result;
}

// Before the marks go: they would take the dot of a dotted capital I along, and it would fold to the dotless letter.
icu::UnicodeString withTurkicI(const icu::UnicodeString& text) {
    icu::UnicodeString result = normalized(text, true);
    result.findAndReplace(u"\u0130", u"i");
    result.findAndReplace(u"I", u"\u0131");
    return result;
}

icu::UnicodeString withoutNonspacingMarks(const icu::UnicodeString& decomposed) {
    icu::UnicodeString kept;
    for (std::int32_t at = 0; at < decomposed.length(); at = decomposed.moveIndex32(at, 1)) {
        const UChar32 scalar = decomposed.char32At(at);
        if (u_charType(scalar) != U_NON_SPACING_MARK) {
            kept.append(scalar);
        }
    }
    return kept;
}

} // namespace

CaseRules currentCaseRules() {
    const std::string_view language = icu::Locale::getDefault().getLanguage();
    return language == "tr" || language == "az" ? CaseRules::turkic : CaseRules::standard;
}

std::string folded(std::string_view text, CaseRules rules) {
    const bool isPlain = rules == CaseRules::standard || !text.contains('I');
    if (isPlain && isAscii(text)) {
        std::string lower(text);
        std::ranges::transform(text, lower.begin(), lowerAscii);
        return lower;
    }
    auto letters = icu::UnicodeString::fromUTF8(icu::StringPiece(text));
    if (rules == CaseRules::turkic) {
        letters = withTurkicI(letters);
    }
    letters = withoutNonspacingMarks(normalized(letters, false));
    letters = normalized(letters.foldCase(), true).toLower(icu::Locale::getRoot());
    std::string result;
    return letters.toUTF8String(result);
}

} // namespace platform
