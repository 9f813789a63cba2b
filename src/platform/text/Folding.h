#pragma once

#include <string>
#include <string_view>

namespace platform {

// How a locale folds the letter I: Turkish and Azeri keep the dotted and the dotless letter apart.
enum class CaseRules { standard, turkic };

// The rules of the locale that the process runs under (LC_ALL, LC_MESSAGES, LANG), as ICU understands it.
[[nodiscard]] CaseRules currentCaseRules();

// `text` without diacritics and without case: decomposed (NFD), its nonspacing marks (class Mn) taken away,
// case-folded, composed again (NFC) and lower-cased without regard to the locale. So composed and decomposed spellings
// of a name give the same result, Hangul too. Marks of other classes stay with their letters.
//
// What is no UTF-8 comes out as U+FFFD. Pure; any thread. Throws std::runtime_error where ICU's data is not there.
[[nodiscard]] std::string folded(std::string_view text, CaseRules rules);

} // namespace platform
