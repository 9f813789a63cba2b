#include "platform/json/Json.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <limits>

namespace platform {
namespace {

std::string failureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const JsonError& error) {
        return error.what();
    }
    return "no failure";
}

TEST(Json, TellsWhereATextIsNotValid) {
    struct Case {
        std::string text;
        const char* words;
    };
    const Case cases[] = {
        {"", "The text is not valid JSON: error in line 1, column 1"},
        {"{\"a\": 1,\n \"b\": }", "The text is not valid JSON: error in line 2, column 7"},
        {"{} {}", "The text is not valid JSON: error in line 1, column 4"},
        {"[1,]", "The text is not valid JSON: error in line 1, column 4"},
        {"[\"\xff\"]", "The text is not valid JSON: error in line 1, column 3"},
        {"[\"\\ud800\"]", "The text is not valid JSON: error in line 1, column 9"},
        {"[NaN]", "The text is not valid JSON: error in line 1, column 2"},
        {"[1e999]", "The text is not valid JSON: a number in it is too large"},
        {std::string(5000000, '['), "The JSON text is nested deeper than 256 levels"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(failureOf([&] { (void)parseJson(one.text); }), one.words) << one.text.substr(0, 40);
    }
}

TEST(Json, WritesSortedKeysAndPlainText) {
    const Json document = {{"b", {1, 2}}, {"a", "caf\u00e9/\"x\""}, {"B", std::numeric_limits<std::int64_t>::max()}};

    EXPECT_EQ(encodeCompact(document), R"({"B":9223372036854775807,"a":"café/\"x\"","b":[1,2]})");
    EXPECT_EQ(encodePretty(document), "{\n  \"B\": 9223372036854775807,\n  \"a\": \"café/\\\"x\\\"\",\n"
                                      "  \"b\": [\n    1,\n    2\n  ]\n}");
}

TEST(Json, RefusesToWriteTextThatIsNotValid) {
    const Json document = {{{"path", "/home/\xe9t\xe9"}}};
    const char* words = "The value of \"[0].path\" cannot be written as JSON: it is not valid UTF-8";

    EXPECT_EQ(failureOf([&] { (void)encodePretty(document); }), words);
    EXPECT_EQ(failureOf([&] { (void)encodeCompact(document); }), words);
    EXPECT_EQ(failureOf([] { (void)encodeCompact(Json{{"\xff", 1}}); }),
              "The document cannot be written as JSON: a key in it is not valid UTF-8");
}

} // namespace
} // namespace platform
