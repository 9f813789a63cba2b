#include "platform/text/Characters.h"
#include "platform/text/Folding.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace platform;

TEST(Folding, TakesDiacriticsAndCaseAway) {
    struct Row {
        std::string text, standard, turkic;
    };
    for (const auto& [text, standard, turkic] :
         {Row{"Q3 Final_V2", "q3 final_v2", "q3 final_v2"}, Row{"R\u00E9port \u00C5", "report a", "report a"},
          Row{"Re\u0301port A\u030A", "report a", "report a"}, Row{"Stra\u00DFe \uFB01", "strasse fi", "strasse fi"},
          Row{"\u039F\u03B4\u03CC\u03C2", "\u03BF\u03B4\u03BF\u03C3", "\u03BF\u03B4\u03BF\u03C3"}, // final sigma
          Row{"\u1112\u1161\u11AB", "\uD55C", "\uD55C"},                                           // Hangul in parts
          Row{"\u0915\u093F", "\u0915\u093F", "\u0915\u093F"},                                     // a spacing mark
          Row{"INBOX", "inbox", "\u0131nbox"}, Row{"\u0130zmir", "izmir", "izmir"},
          Row{"I\u0307zmir", "izmir", "izmir"}, Row{"A\xFF", "a\uFFFD", "a\uFFFD"}}) {
        EXPECT_EQ(folded(text, CaseRules::standard), standard) << text;
        EXPECT_EQ(folded(text, CaseRules::turkic), turkic) << text;
    }
}

TEST(Folding, ChoosesTheRulesByTheLanguageOfTheLocale) {
    EXPECT_EQ(caseRulesOf("tr_TR.UTF-8"), CaseRules::turkic);
    EXPECT_EQ(caseRulesOf("az_Latn_AZ"), CaseRules::turkic);
    EXPECT_EQ(caseRulesOf("en_TR"), CaseRules::standard);
}

TEST(Characters, AreWhatAUserPerceives) {
    using Parts = std::vector<std::string_view>;
    EXPECT_EQ(characters("a-1"), (Parts{"a", "-", "1"}));
    EXPECT_EQ(characters("a\r\nb"), (Parts{"a", "\r\n", "b"}));
    EXPECT_EQ(characters("e\u0301x"), (Parts{"e\u0301", "x"}));
    EXPECT_EQ(characters("\u0915\u093F\u0915"), (Parts{"\u0915\u093F", "\u0915"}));
    EXPECT_EQ(characters("\U0001F468\u200D\U0001F469!"), (Parts{"\U0001F468\u200D\U0001F469", "!"}));
    EXPECT_EQ(characters("\u00E9\xFF\xFE"), (Parts{"\u00E9", "\xFF", "\xFE"}));
}

TEST(Characters, CountAsLettersAndNumbersByTheirClass) {
    for (const char* yes : {"a", "\u00DF", "e\u0301", "\u0915\u093F", "\u65E5", "7", "\u0663", "\u00BD", "\u2163"}) {
        EXPECT_TRUE(isLetterOrNumber(yes)) << yes;
    }
    for (const char* no : {"", "-", "_", " ", "\u0301", "\u20AC", "\U0001F4C4", "\uFFFD", "\xFF"}) {
        EXPECT_FALSE(isLetterOrNumber(no)) << no;
    }
}
