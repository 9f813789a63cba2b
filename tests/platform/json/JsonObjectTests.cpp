#include "platform/json/JsonObject.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

enum class Colour { red };

std::optional<Colour> readText(std::type_identity<Colour>, const std::string& text) {
    return text == "red" ? std::optional(Colour::red) : std::nullopt;
}

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
    std::optional<std::int64_t> age;
    std::vector<Part> parts;
    std::optional<Colour> colour;
    friend bool operator==(const Whole&, const Whole&) = default;
};

Whole readRecord(std::type_identity<Whole>, const JsonObject& object) {
    return {.name = object.required<std::string>("name"),
            .isOld = object.optional<bool>("isOld"),
            .age = object.optional<std::int64_t>("age"),
            .parts = object.optional<std::vector<Part>>("parts").value_or(std::vector<Part>()),
            .colour = object.optional<Colour>("colour")};
}

std::string failureOf(std::string_view text) {
    try {
        (void)decodeJson<Whole>(text);
    } catch (const JsonError& error) {
        return error.what();
    }
    return "no failure";
}

TEST(JsonObject, ReadsRecordsWithNestedOnesAndTakesNullAsMissing) {
    const Whole full{.name = "a", .isOld = false, .age = 7, .parts = {{1}, {2}}, .colour = Colour::red};
    EXPECT_EQ(decodeJson<Whole>(R"({"name":"a","isOld":false,"age":7,"parts":[{"size":1},{"size":2,"more":[]}],
                                    "colour":"red","unknown":{"deep":1}})"),
              full);
    EXPECT_EQ(decodeJson<Whole>(R"({"name":"","isOld":null,"age":null,"parts":null,"colour":null})"), Whole{});
    EXPECT_EQ(decodeJson<std::vector<Part>>("[]"), std::vector<Part>());
}

TEST(JsonObject, NamesThePlaceOfAWrongValue) {
    struct Case {
        const char* text;
        const char* words;
    };
    const Case cases[] = {
        {"[]", "The document is not an object"},
        {"null", "The document is not an object"},
        {"{}", "The value of \"name\" is missing"},
        {R"({"name":null})", "The value of \"name\" is missing"},
        {R"({"name":5})", "The value of \"name\" is not a text"},
        {R"({"name":"a","isOld":1})", "The value of \"isOld\" is not true or false"},
        {R"({"name":"a","isOld":"true"})", "The value of \"isOld\" is not true or false"},
        {R"({"name":"a","parts":{}})", "The value of \"parts\" is not a list"},
        {R"({"name":"a","parts":[{"size":1},{}]})", "The value of \"parts[1].size\" is missing"},
        {R"({"name":"a","parts":[null]})", "The value of \"parts[0]\" is not an object"},
        {R"({"name":"a","colour":"blue"})", "The value of \"colour\" is not one of the values that are known"},
        {R"({"name":"a","colour":1})", "The value of \"colour\" is not a text"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(failureOf(one.text), one.words) << one.text;
    }
}

TEST(JsonObject, TakesWholeNumbersOnly) {
    const auto sizeOf = [](const std::string& number) -> std::optional<std::int64_t> {
        try {
            return decodeJson<Part>(R"({"size":)" + number + "}").size;
        } catch (const JsonError&) {
            return std::nullopt;
        }
    };
    EXPECT_EQ(sizeOf("-5"), -5);
    EXPECT_EQ(sizeOf("5.0"), 5);
    EXPECT_EQ(sizeOf("5e3"), 5000);
    EXPECT_EQ(sizeOf("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(sizeOf("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(sizeOf("9007199254740992.0"), 9007199254740992);
    for (const char* number : {"9223372036854775808", "-9223372036854775809", "18446744073709551616",
                               "9007199254740994.0", "5.5", "true", "\"5\"", "[5]"}) {
        EXPECT_EQ(sizeOf(number), std::nullopt) << number;
    }
}

} // namespace
} // namespace platform
