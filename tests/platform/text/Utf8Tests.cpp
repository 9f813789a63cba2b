#include "platform/text/Utf8.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace platform {

namespace {

struct Sample {
    const char* name;
    std::string bytes;
    std::string shown; // equal to the bytes where they are valid
};

const std::vector<Sample> samples{
    {"empty", "", ""},
    {"ASCII longer than eight bytes", "quarterly report.pdf", "quarterly report.pdf"},
    {"two, three and four bytes", "é\u3042\U0001F4C4", "é\u3042\U0001F4C4"},
    {"the last scalar", "\U0010FFFF", "\U0010FFFF"},
    {"a zero byte", std::string("a\0b", 3), std::string("a\0b", 3)},
    {"Latin-1 behind ASCII", "a name caf\xE9.txt", "a name caf\uFFFD.txt"},
    {"continuation alone", "\x80x", "\uFFFDx"},
    {"overlong slash", "\xC0\xAF", "\uFFFD\uFFFD"},
    {"overlong in three bytes", "\xE0\x80\xAF", "\uFFFD\uFFFD\uFFFD"},
    {"surrogate", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
    {"above the last scalar", "\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"cut off after two of three", "x\xE3\x81", "x\uFFFD"},
    {"cut off by a letter", "\xF0\x9F\x93z", "\uFFFDz"},
};

} // namespace

TEST(Utf8, TellsTextFromBytesAndShowsBoth) {
    for (const Sample& sample : samples) {
        SCOPED_TRACE(sample.name);
        EXPECT_EQ(isValidUtf8(sample.bytes), sample.bytes == sample.shown);
        EXPECT_EQ(withReplacementCharacters(sample.bytes), sample.shown);
        EXPECT_TRUE(isValidUtf8(sample.shown));
    }
}

} // namespace platform
