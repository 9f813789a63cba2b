#include "platform/text/LocalizedDate.h"

#include <gtest/gtest.h>

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
