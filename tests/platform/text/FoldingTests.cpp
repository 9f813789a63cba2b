#include "platform/text/Characters.h"
#include "platform/text/Folding.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace platform {

namespace {

struct Folded {
    const char* name;
    std::string text;
    std::string standard;
    std::string turkic;
};

const std::vector<Folded> foldings{
    {"ASCII", "Q3 Final_V2", "q3 final_v2", "q3 final_v2"},
    {"composed", "R\u00E9port \u00C5", "report a", "report a"},
    {"decomposed", "Re\u0301port A\u030A", "report a", "report a"},
    {"two marks on one letter", "\u1EC7", "e", "e"},
    {"sharp s and ligature", "Stra\u00DFe \uFB01", "strasse fi", "strasse fi"},
    {"Greek with final sigma", "\u039F\u03B4\u03CC\u03C2", "\u03BF\u03B4\u03BF\u03C3", "\u03BF\u03B4\u03BF\u03C3"},
    {"Greek iota below", "\u1FB3", "\u03B1", "\u03B1"},
    {"composed Hangul", "\uD55C\uAE00", "\uD55C\uAE00", "\uD55C\uAE00"},
    {"decomposed Hangul", "\u1112\u1161\u11AB\u1100\u1173\u11AF", "\uD55C\uAE00", "\uD55C\uAE00"},
    {"voiced kana", "\u304C", "\u304B", "\u304B"},
    {"ideographs", "\u65E5\u672C\u8A9E", "\u65E5\u672C\u8A9E", "\u65E5\u672C\u8A9E"},
    {"spacing mark", "\u0915\u093F", "\u0915\u093F", "\u0915\u093F"},
    {"capital I", "INBOX", "inbox", "\u0131nbox"},
    {"dotted capital I", "\u0130zmir", "izmir", "izmir"},
    {"dotted capital I in two", "I\u0307zmir", "izmir", "izmir"},
    {"no UTF-8", "A\xFF", "a\uFFFD", "a\uFFFD"},
};

struct Split {
    const char* name;
    std::string text;
    std::vector<std::string_view> parts;
};

const std::vector<Split> splits{
    {"ASCII", "a-1", {"a", "-", "1"}},
    {"line break of two", "a\r\nb", {"a", "\r\n", "b"}},
    {"marks stay with their letter", "e\u0301x", {"e\u0301", "x"}},
    {"Devanagari with its vowel sign", "\u0915\u093F\u0915", {"\u0915\u093F", "\u0915"}},
    {"family", "\U0001F468\u200D\U0001F469!", {"\U0001F468\u200D\U0001F469", "!"}},
    {"bytes", "\u00E9\xFF\xFE", {"\u00E9", "\xFF", "\xFE"}},
    {"nothing", "", {}},
};

} // namespace

TEST(Folding, TakesDiacriticsAndCaseAway) {
    for (const Folded& row : foldings) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(folded(row.text, CaseRules::standard), row.standard);
        EXPECT_EQ(folded(row.text, CaseRules::turkic), row.turkic);
    }
}

TEST(Folding, ShortCutForAsciiChangesNothing) {
    std::string ascii;
    for (char c = 0; c < 127; ++c) {
        ascii += c;
    }
    EXPECT_EQ(folded(ascii, CaseRules::standard) + "\u65E5", folded(ascii + "\u65E5", CaseRules::standard));
}

TEST(Folding, ChoosesTheRulesByTheLanguageOfTheLocale) {
    EXPECT_EQ(caseRulesOf("tr_TR.UTF-8"), CaseRules::turkic);
    EXPECT_EQ(caseRulesOf("az_Latn_AZ"), CaseRules::turkic);
    EXPECT_EQ(caseRulesOf("en_TR"), CaseRules::standard);
    EXPECT_EQ(caseRulesOf("C"), CaseRules::standard);
}

TEST(Characters, AreWhatAUserPerceives) {
    for (const Split& row : splits) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(characters(row.text), row.parts);
    }
}

TEST(Characters, CountAsLettersAndNumbersByTheirClass) {
    for (const char* yes : {"a", "\u00DF", "e\u0301", "\u0915\u093F", "\u65E5", "7", "\u0663", "\u00BD", "\u2163"}) {
        EXPECT_TRUE(isLetterOrNumber(yes)) << yes;
    }
    for (const char* no : {"", "-", "_", " ", "\u0301", "\u20AC", "\U0001F4C4", "\uFFFD", "\xFF", "\xE3\x81"}) {
        EXPECT_FALSE(isLetterOrNumber(no)) << no;
    }
}

} // namespace platform
