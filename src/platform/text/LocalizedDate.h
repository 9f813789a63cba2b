#pragma once

#include <chrono>
#include <string>

namespace platform {

// Where a time is shown: the customs of writing it, as a locale's name in POSIX or ICU form ("de_DE.UTF-8", "ja"), and
// the time zone of the clock on the wall, by its name in the IANA database ("Europe/Berlin").
struct DateCustoms {
    std::string locale;
    std::string timeZone;
};

// Those of the user: the locale of dates in the environment (LC_ALL, LC_TIME, LANG; locale(7)) and the machine's zone
// (TZ, /etc/localtime; tzset(3)), both as they are at the moment, so that a journey needs no restart.
[[nodiscard]] DateCustoms currentDateCustoms();

// The date in the medium form and the time in the short one: "14 Nov 2023, 22:13" in en_GB. A locale that ICU does not
// know gives way to its default one, an unknown zone to UTC. UTF-8; any thread. Throws std::runtime_error where ICU's
// data is not there.
[[nodiscard]] std::string localizedDateAndTime(std::chrono::system_clock::time_point at, const DateCustoms& customs);

} // namespace platform
