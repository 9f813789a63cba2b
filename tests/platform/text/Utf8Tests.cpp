#include "platform/text/Utf8.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

using namespace platform;

TEST(Utf8, TellsTextFromBytesAndShowsBoth) {
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"quarterly report.pdf", "quarterly report.pdf"},
        {"é\u3042\U0001F4C4\U0010FFFF", "é\u3042\U0001F4C4\U0010FFFF"},
        {std::string("a\0b", 3), std::string("a\0b", 3)},
        {"a name caf\xE9.txt", "a name caf\uFFFD.txt"},
        {"\x80x", "\uFFFDx"},                             // a continuation alone
        {"\xC0\xAF", "\uFFFD\uFFFD"},                     // an overlong slash
        {"\xE0\x80\xAF", "\uFFFD\uFFFD\uFFFD"},           // the same in three bytes
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},           // a surrogate
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"}, // above the last scalar
        {"x\xE3\x81", "x\uFFFD"},                         // cut off by the end
        {"\xF0\x9F\x93z", "\uFFFDz"},                     // cut off by a letter
    };
    for (const auto& [bytes, shown] : rows) {
        EXPECT_EQ(isValidUtf8(bytes), bytes == shown) << shown;
        EXPECT_EQ(withReplacementCharacters(bytes), shown);
    }
}
