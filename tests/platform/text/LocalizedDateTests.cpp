#include "platform/text/LocalizedDate.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

using namespace platform;

TEST(LocalizedDate, WritesTheMomentAsTheLocaleAndTheZoneDo) {
    const std::chrono::system_clock::time_point moment{std::chrono::seconds(1'700'000'000)};
    const std::pair<DateCustoms, std::string> rows[] = {
        {{"en_GB.UTF-8", "UTC"}, "14 Nov 2023, 22:13"},
        {{"de_DE.UTF-8", "Europe/Berlin"}, "14.11.2023, 23:13"},
        {{"ja_JP", "Asia/Tokyo"}, "2023/11/15 7:13"},
        {{"en_GB", "Nowhere/Nothing"}, "14 Nov 2023, 22:13"},
        {{"C.UTF-8", "UTC"}, localizedDateAndTime(moment, {"en_US_POSIX", "UTC"})},
    };
    for (const auto& [customs, expected] : rows) {
        EXPECT_EQ(localizedDateAndTime(moment, customs), expected) << customs.locale;
    }
}

// In a process of its own, so that the others keep their environment.
TEST(LocalizedDateDeathTest, FollowsTheEnvironmentAtEachCall) {
    const auto isRight = [] {
        const auto are = [](const char* locale, const char* timeZone) {
            const DateCustoms customs = currentDateCustoms();
            return customs.locale == locale && customs.timeZone == timeZone;
        };
        ::clearenv();
        ::setenv("TZ", "Asia/Tokyo", 1);
        bool result = are("C", "Asia/Tokyo");
        ::setenv("LANG", "en_US", 1);
        ::setenv("LC_TIME", "fr_FR", 1);
        ::setenv("LC_ALL", "", 1);
        result = result && are("fr_FR", "Asia/Tokyo");
        ::setenv("LC_ALL", "de_DE", 1);
        ::setenv("TZ", "Europe/Paris", 1);
        return result && are("de_DE", "Europe/Paris");
    };
    EXPECT_EXIT(std::_Exit(isRight() ? 0 : 1), ::testing::ExitedWithCode(0), "");
}
