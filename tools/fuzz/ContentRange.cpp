#include "Service.h"
#include "Target.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

namespace veskline::fuzz {

namespace {

constexpr const char* rows = "[{}, {}, {}]";
constexpr std::int64_t numberOfRows = 3;

// What the last piece between slashes says, by the C library's reading of numbers; else the rows are counted.
std::int64_t expectedCount(std::string text) {
    while (text.ends_with('/')) {
        text.pop_back();
    }
    const std::string piece = text.substr(text.rfind('/') + 1); // npos + 1 is the start of the text
    const std::string digits = piece.starts_with('-') ? piece.substr(1) : piece;
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (digits.empty() || !std::ranges::all_of(digits, isDigit)) {
        return numberOfRows;
    }
    errno = 0;
    const long long total = std::strtoll(piece.c_str(), nullptr, 10);
    return errno == ERANGE ? numberOfRows : total;
}

} // namespace

// The value of the header.
void check(std::string_view input) {
    static Service service;
    const std::string range(input);
    service.begin([&range] {
        return platform::HttpResponse{.status = 206, .headers = {{"content-range", range}}, .body = rows};
    });
    const IngestStatusSnapshot status = service.run([] { return service.client().fetchIngestStatus(); });
    const std::int64_t expected = expectedCount(range);
    require(status.queued == expected && status.running == expected && status.errors == expected,
            "a total counts where it is a whole number, and the rows where it is none");
}

} // namespace veskline::fuzz
