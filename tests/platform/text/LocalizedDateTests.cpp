#include "platform/text/LocalizedDate.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace platform {

namespace {

struct Environment {
    std::vector<std::pair<const char*, const char*>> variables;
    DateCustoms expected;
};

// Ends the process, so that the others keep their environment.
[[noreturn]] void exitWithZeroWhereItIs(const Environment& environment) {
    for (const char* const name : {"LC_ALL", "LC_TIME", "LANG", "TZ"}) {
        ::unsetenv(name);
    }
    for (const auto& [name, value] : environment.variables) {
        ::setenv(name, value, 1);
    }
    const DateCustoms customs = currentDateCustoms();
    const DateCustoms& expected = environment.expected;
    std::_Exit(customs.locale == expected.locale && customs.timeZone == expected.timeZone ? 0 : 1);
}

} // namespace

TEST(LocalizedDate, WritesTheMomentAsTheLocaleAndTheZoneDo) {
    const std::chrono::system_clock::time_point moment{std::chrono::seconds(1'700'000'000)};
    const std::pair<DateCustoms, std::string> rows[] = {
        {{"en_GB.UTF-8", "UTC"}, "14 Nov 2023, 22:13"},
        {{"de_DE.UTF-8", "Europe/Berlin"}, "14.11.2023, 23:13"},
        {{"ja_JP", "Asia/Tokyo"}, "2023/11/15 7:13"},
        {{"en_GB", "Nowhere/Nothing"}, "14 Nov 2023, 22:13"},
    };
    for (const auto& [customs, expected] : rows) {
        EXPECT_EQ(localizedDateAndTime(moment, customs), expected) << customs.locale;
    }
    for (const char* const plain : {"C", "C.UTF-8", "POSIX"}) {
        EXPECT_EQ(localizedDateAndTime(moment, {plain, "UTC"}), localizedDateAndTime(moment, {"en_US_POSIX", "UTC"}));
    }
}

TEST(LocalizedDateDeathTest, TakesTheCustomsOfTheEnvironment) {
    const Environment rows[] = {
        {{{"LC_ALL", ""}, {"LC_TIME", "fr_FR"}, {"LANG", "en_US"}, {"TZ", "Asia/Tokyo"}}, {"fr_FR", "Asia/Tokyo"}},
        {{{"LC_ALL", "de_DE"}, {"LC_TIME", "fr_FR"}, {"TZ", "Europe/Paris"}}, {"de_DE", "Europe/Paris"}},
        {{{"TZ", "America/New_York"}}, {"C", "America/New_York"}},
    };
    for (const Environment& row : rows) {
        EXPECT_EXIT(exitWithZeroWhereItIs(row), ::testing::ExitedWithCode(0), "") << row.expected.timeZone;
    }
}

} // namespace platform
