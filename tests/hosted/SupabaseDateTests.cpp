#include "hosted/SupabaseDate.h"
#include "platform/json/Json.h"

#include <gtest/gtest.h>

#include <ranges>

namespace veskline {
namespace {

using namespace std::chrono;

TEST(SupabaseDate, ReadsInternetDateTimes) {
    const Time base = sys_days(2024y / May / 1) + 10h + 20min + 30s;
    const std::pair<const char*, Time> cases[] = {
        {"2024-05-01T10:20:30Z", base},
        {"2024-05-01T10:20:30.123Z", base + 123ms},
        {"2024-05-01T10:20:30.123456+00:00", base + 123456us},
        {"2024-05-01T10:20:30.1234567891+00:00", base + 123456789ns},
        {"2024-05-01T12:50:30+02:30", base},
        {"2024-04-30T22:20:30-12:00", base},
        {"2024-02-29T00:00:00Z", sys_days(2024y / February / 29)},
        {"1969-12-31T23:59:59.5Z", Time() - 500ms},
    };
    for (const auto& [text, date] : cases) {
        EXPECT_EQ(decodeSupabaseDate(text), date) << text;
    }
}

TEST(SupabaseDate, ReadsNoOtherForm) {
    const std::string_view refused = "|2024-05-01|2024-05-01T10:20Z|2024-05-01T10:20:30|2024-05-01 10:20:30Z"
                                     "|2024-05-01t10:20:30z|2024-05-01T10:20:30.Z|2024-05-01T10:20:30,5Z"
                                     "|2024-05-01T10:20:30+0000|2024-05-01T10:20:30+00|2024-05-01T10:20:30Z "
                                     "|2024-5-01T10:20:30Z|-024-05-01T10:20:30Z|2023-02-29T10:20:30Z"
                                     "|2024-13-01T10:20:30Z|2024-00-01T10:20:30Z|2024-05-01T24:00:00Z"
                                     "|2024-05-01T10:60:30Z|2024-05-01T10:20:61Z|2024-05-01T10:20:30+24:00"
                                     "|0001-01-01T00:00:00Z|9999-12-31T23:59:59Z";
    for (const auto text : std::views::split(refused, '|')) {
        EXPECT_THROW(static_cast<void>(decodeSupabaseDate(std::string_view(text))), platform::JsonError)
            << std::string_view(text);
    }
}

} // namespace
} // namespace veskline
