#include "local_project/Timestamp.h"

#include <regex>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace local_project {

std::string timestampOf(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto whole = floor<seconds>(time);
    const auto fraction = duration_cast<microseconds>(time - whole);
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:06}+00:00", fmt::gmtime(system_clock::to_time_t(whole)),
                       fraction.count());
}

std::optional<std::string> normalisedTimestamp(std::string_view text) {
    static const std::regex form(R"((\d{4}-[01]\d-[0-3]\dT[0-2]\d:[0-5]\d:[0-6]\d)(?:\.(\d{1,6}))?(?:Z|\+00:00))");
    std::cmatch parts;
    if (!std::regex_match(text.data(), text.data() + text.size(), parts, form)) {
        return std::nullopt;
    }
    std::string fraction = parts[2].str();
    fraction.resize(6, '0');
    return parts[1].str() + "." + fraction + "+00:00";
}

} // namespace local_project
