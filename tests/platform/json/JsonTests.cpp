#include "platform/json/JsonObject.h"
#include "support/Failure.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>

using namespace platform;
using veskline::testing::failureOf;

namespace {

struct Part {
    std::int64_t size = 0;
    friend bool operator==(const Part&, const Part&) = default;
};

Part readRecord(std::type_identity<Part>, const JsonObject& object) {
    return {.size = object.required<std::int64_t>("size")};
}

struct Whole {
    std::string name;
    std::optional<bool> isOld;
    std::vector<Part> parts;
    friend bool operator==(const Whole&, const Whole&) = default;
};

Whole readRecord(std::type_identity<Whole>, const JsonObject& object) {
    return {.name = object.required<std::string>("name"),
            .isOld = object.optional<bool>("isOld"),
            .parts = object.optional<std::vector<Part>>("parts").value_or(std::vector<Part>())};
}

} // namespace

TEST(Json, ReadsRecordsWithNestedOnesAndTakesNullAsMissing) {
    EXPECT_EQ(decodeJson<Whole>(
                  R"({"name":"a","isOld":false,"parts":[{"size":1},{"size":2,"more":[]}],"unknown":{"deep":1}})"),
              (Whole{"a", false, {{1}, {2}}}));
    EXPECT_EQ(decodeJson<Whole>(R"({"name":"","isOld":null,"parts":null})"), Whole{});
}

TEST(Json, NamesThePlaceOfWhatIsWrong) {
    std::string endless = "[{}"; // read in a moment: a time quadratic in the members would be days
    for (int i = 0; i < 3'000'000; ++i) {
        endless += ",{}";
    }
    const std::pair<std::string, const char*> rows[] = {
        {"", "The text is not valid JSON: error in line 1, column 1"},
        {"{\"a\": 1,\n \"b\": }", "The text is not valid JSON: error in line 2, column 7"},
        {"{} {}", "The text is not valid JSON: error in line 1, column 4"},
        {"[\"\xff\"]", "The text is not valid JSON: error in line 1, column 3"},
        {"[1e999]", "The text is not valid JSON: a number in it is too large"},
        {std::string(5000000, '['), "The JSON text is nested deeper than 256 levels"},
        {std::string(5000000, '[') + "nonsense", "The JSON text is nested deeper than 256 levels"},
        {"nonsense" + std::string(300, '['), "The text is not valid JSON: error in line 1, column 2"},
        {"[\"" + std::string(300, '[') + "\\\"" + std::string(300, '{') + "\"]", "The document is not an object"},
        {endless + "]", "The document is not an object"},
        {"[]", "The document is not an object"},
        {"{}", "The value of \"name\" is missing"},
        {R"({"name":5})", "The value of \"name\" is not a text"},
        {R"({"name":"a","isOld":1})", "The value of \"isOld\" is not true or false"},
        {R"({"name":"a","parts":{}})", "The value of \"parts\" is not a list"},
        {R"({"name":"a","parts":[{"size":1},{}]})", "The value of \"parts[1].size\" is missing"},
        {R"({"name":"a","parts":[null]})", "The value of \"parts[0]\" is not an object"},
        {R"({"name":"a","parts":[{"size":true}]})", "The value of \"parts[0].size\" is not a whole number"},
    };
    for (const auto& [text, words] : rows) {
        EXPECT_EQ(failureOf([&] { (void)decodeJson<Whole>(text); }), words) << text.substr(0, 40);
    }
}

TEST(Json, TakesWholeNumbersOnly) {
    const auto sizeOf = [](const std::string& number) { return decodeJson<Part>(R"({"size":)" + number + "}").size; };
    EXPECT_EQ(sizeOf("5.0"), 5);
    EXPECT_EQ(sizeOf("5e3"), 5000);
    EXPECT_EQ(sizeOf("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(sizeOf("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(sizeOf("9007199254740992.0"), 9007199254740992);
    for (const char* number : {"9223372036854775808", "-9223372036854775809", "18446744073709551616",
                               "9007199254740994.0", "5.5", "\"5\""}) {
        EXPECT_THROW(sizeOf(number), JsonError) << number;
    }
}

TEST(Json, WritesSortedKeysAndPlainTextThatIsValid) {
    const Json document = {{"b", {1, 2}}, {"a", "caf\u00e9/\"x\""}, {"B", INT64_MAX}};
    EXPECT_EQ(encodeCompact(document), R"({"B":9223372036854775807,"a":"café/\"x\"","b":[1,2]})");
    EXPECT_EQ(encodePretty(document), "{\n  \"B\": 9223372036854775807,\n  \"a\": \"café/\\\"x\\\"\",\n"
                                      "  \"b\": [\n    1,\n    2\n  ]\n}");
    EXPECT_EQ(failureOf([] { (void)encodePretty(Json{{{"path", "/home/\xe9t\xe9"}}}); }),
              "The value of \"[0].path\" cannot be written as JSON: it is not valid UTF-8");
    EXPECT_EQ(failureOf([] { (void)encodeCompact(Json{{"\xff", 1}}); }),
              "The document cannot be written as JSON: a key in it is not valid UTF-8");
}
