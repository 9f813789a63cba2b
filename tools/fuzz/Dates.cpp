#include "Target.h"
#include "hosted/SupabaseDate.h"
#include "platform/json/Json.h"

#include <fmt/format.h>

#include <ctime>
#include <optional>
#include <string>

namespace veskline::fuzz {

namespace {

using namespace std::chrono;

std::optional<Time> decoded(const std::string& text) {
    try {
        return decodeSupabaseDate(text);
    } catch (const platform::JsonError& error) {
        const std::string words = "Invalid Supabase date: " + text;
        require(std::string(error.what()) == words.c_str(), "a failure names the text");
        return std::nullopt;
    }
}

std::string encoded(Time time) {
    const year_month_day date(floor<days>(time));
    const hh_mm_ss<nanoseconds> clock(time - floor<days>(time));
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:09}Z", int{date.year()}, unsigned{date.month()},
                       unsigned{date.day()}, clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
                       clock.subseconds().count());
}

// The whole second of a text that is a date, by the C library's calendar.
sys_seconds byTheCalendar(const std::string& text) {
    struct tm local{};
    const char* const end = ::strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &local);
    require(end == text.c_str() + 19, "a date has its parts where they belong");
    seconds offset{0};
    if (!text.ends_with('Z')) {
        const std::string zone = text.substr(text.size() - 6); // +hh:mm
        offset = hours(std::stoi(zone.substr(1, 2))) + minutes(std::stoi(zone.substr(4)));
        offset = zone.front() == '-' ? -offset : offset;
    }
    const int day = local.tm_mday;
    const sys_seconds second(seconds(::timegm(&local))); // a day too many becomes the next month's first
    require(local.tm_mday == day, "the month has that day");
    return second - offset;
}

} // namespace

void check(std::string_view input) {
    const std::string text(input);
    const std::optional<Time> time = decoded(text);
    if (!time) {
        return;
    }
    require(floor<seconds>(*time) == byTheCalendar(text), "the C library's calendar has the same second");
    require(decoded(encoded(*time)) == time, "a date that is written and read again is the same");
    require(!decoded(text + "0") && !decoded(" " + text), "nothing stands before a date or behind it");
}

} // namespace veskline::fuzz
