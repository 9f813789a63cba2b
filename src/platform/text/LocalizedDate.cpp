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

// ICU takes the C locale of POSIX for a language that it does not know.
icu::Locale icuLocale(const std::string& name) {
    const std::string language = name.substr(0, name.find('.'));
    const bool isPosix = language == "C" || language == "POSIX";
    return icu::Locale::createCanonical(isPosix ? "en_US_POSIX" : name.c_str());
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
    const std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
        icu::DateFormat::kMedium, icu::DateFormat::kShort, icuLocale(customs.locale)));
    requireIcu(format ? U_ZERO_ERROR : U_MISSING_RESOURCE_ERROR);
    format->adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(customs.timeZone)));
    const std::chrono::duration<double, std::milli> sinceEpoch = at.time_since_epoch();
    icu::UnicodeString text;
    return utf8(format->format(sinceEpoch.count(), text));
}

} // namespace platform
