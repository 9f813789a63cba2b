#include "hosted/SupabaseDate.h"

#include "platform/json/Json.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <optional>

namespace veskline {

namespace {

using namespace std::chrono;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// Reads a text from its start, and remembers if it ever was not what was asked for.
class DateReader {
public:
    explicit DateReader(std::string_view text) : rest_(text) {}

    int number(std::size_t digits, int least, int most) {
        const std::string_view piece = take(digits);
        int value = 0;
        std::from_chars(piece.data(), piece.data() + piece.size(), value);
        hasFailed_ |= piece.size() != digits || !std::ranges::all_of(piece, isDigit) || value < least || value > most;
        return value;
    }
    bool skip(char mark) {
        const bool isThere = rest_.starts_with(mark);
        rest_.remove_prefix(isThere ? 1 : 0);
        return isThere;
    }
    void require(char mark) { hasFailed_ |= !skip(mark); }

    nanoseconds fraction() {
        const auto end = std::ranges::find_if_not(rest_, isDigit);
        const std::string_view digits = take(static_cast<std::size_t>(end - rest_.begin()));
        hasFailed_ |= digits.empty();
        nanoseconds value{0};
        nanoseconds unit = 100ms;
        for (const char digit : digits) {
            value += unit * (digit - '0');
            unit /= 10;
        }
        return value;
    }
    [[nodiscard]] bool isDone() const { return rest_.empty() && !hasFailed_; }

private:
    std::string_view take(std::size_t size) {
        const std::string_view piece = rest_.substr(0, size);
        rest_.remove_prefix(piece.size());
        return piece;
    }

    std::string_view rest_;
    bool hasFailed_ = false;
};

year_month_day readDay(DateReader& reader) {
    const year theYear(reader.number(4, 0, 9999));
    reader.require('-');
    const month theMonth(static_cast<unsigned>(reader.number(2, 1, 12)));
    reader.require('-');
    return theYear / theMonth / day(static_cast<unsigned>(reader.number(2, 1, 31)));
}

seconds readTimeOfDay(DateReader& reader) {
    const hours hour(reader.number(2, 0, 23));
    reader.require(':');
    const minutes minute(reader.number(2, 0, 59));
    reader.require(':');
    return hour + minute + seconds(reader.number(2, 0, 59));
}

seconds readOffset(DateReader& reader) {
    if (reader.skip('Z')) {
        return 0s;
    }
    const bool isWest = reader.skip('-');
    if (!isWest) {
        reader.require('+');
    }
    const hours hour(reader.number(2, 0, 23));
    reader.require(':');
    const minutes offset = hour + minutes(reader.number(2, 0, 59));
    return isWest ? -offset : offset;
}

std::optional<Time> readDate(std::string_view text) {
    DateReader reader(text);
    const year_month_day date = readDay(reader);
    reader.require('T');
    const seconds timeOfDay = readTimeOfDay(reader);
    const nanoseconds fraction = reader.skip('.') ? reader.fraction() : 0ns;
    const seconds offset = readOffset(reader);
    if (!reader.isDone() || !date.ok()) {
        return std::nullopt;
    }
    const sys_seconds whole = sys_days(date) + timeOfDay - offset;
    if (whole <= ceil<seconds>(Time::min()) || whole >= floor<seconds>(Time::max())) {
        return std::nullopt;
    }
    return Time(whole) + duration_cast<Time::duration>(fraction);
}

} // namespace

Time decodeSupabaseDate(std::string_view text) {
    const std::optional<Time> date = readDate(text);
    return date ? *date : throw platform::JsonError(fmt::format("Invalid Supabase date: {}", text));
}

} // namespace veskline
