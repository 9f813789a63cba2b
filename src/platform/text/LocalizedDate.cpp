#include "platform/text/LocalizedDate.h"

#include "platform/text/IcuError.h"

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <cstdlib>
#include <memory>

namespace platform {

namespace {

std::string localeOfDates() {
    for (const char* const name : {"LC_ALL", "LC_TIME", "LANG"}) {
        if (const char* const value = std::getenv(name); value != nullptr && value[0] != '\0') {
            return value;
        }
    }
    return "C";
}

std::string utf8(const icu::UnicodeString& text) {
    std::string result;
    return text.toUTF8String(result);
}

} // namespace

DateCustoms currentDateCustoms() {
    const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::detectHostTimeZone());
    icu::UnicodeString name;
    return {.locale = localeOfDates(), .timeZone = zone ? utf8(zone->getID(name)) : "UTC"};
}

std::string localizedDateAndTime(std::chrono::system_clock::time_point at, const DateCustoms& customs) {
    const auto locale = icu::Locale::createCanonical(customs.locale.c_str());
    const std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createDateTimeInstance(icu::DateFormat::kMedium, icu::DateFormat::kShort, locale));
    requireIcu(format ? U_ZERO_ERROR : U_MISSING_RESOURCE_ERROR);
    format->adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(customs.timeZone)));
    const std::chrono::duration<double, std::milli> sinceEpoch = at.time_since_epoch();
    icu::UnicodeString text;
    return utf8(format->format(sinceEpoch.count(), text));
}

} // namespace platform
