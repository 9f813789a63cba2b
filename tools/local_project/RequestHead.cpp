#include "local_project/RequestHead.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

#include <fmt/format.h>

namespace local_project {

namespace {

enum class PlusSign { isItself, isSpace };

bool isSameName(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, [](unsigned char a, unsigned char b) { return tolower(a) == tolower(b); });
}

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::optional<char> escapedByte(std::string_view text) {
    unsigned value = 0;
    const auto digits = text.substr(0, 2);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc() || end != digits.data() + 2) {
        return std::nullopt;
    }
    return static_cast<char>(value);
}

std::string decoded(std::string_view text, PlusSign plus) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = text[at] == '%' ? escapedByte(text.substr(at + 1)) : std::nullopt;
        if (byte) {
            result += *byte;
            at += 2;
        } else {
            result += text[at] == '+' && plus == PlusSign::isSpace ? ' ' : text[at];
        }
    }
    return result;
}

// Takes the text before `separator` off the front; all of it where there is none.
std::string_view takeUntil(std::string_view& text, std::string_view separator) {
    const auto end = text.find(separator);
    const auto piece = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + separator.size());
    return piece;
}

bool readRequestLine(std::string_view line, RequestHead& head) {
    head.method = takeUntil(line, " ");
    head.target = takeUntil(line, " ");
    head.version = line;
    return !head.method.empty() && head.target.starts_with('/') && head.version.starts_with("HTTP/1.");
}

bool isFraming(std::string_view name) {
    static constexpr std::array<std::string_view, 4> names = {"connection", "content-length", "transfer-encoding",
                                                              "expect"};
    return std::ranges::any_of(names, [&](std::string_view framing) { return isSameName(framing, name); });
}

} // namespace

std::optional<RequestHead> RequestHead::parse(std::string_view text) {
    RequestHead head;
    if (!readRequestLine(takeUntil(text, "\r\n"), head)) {
        return std::nullopt;
    }
    while (!text.empty()) {
        auto line = takeUntil(text, "\r\n");
        if (line.empty()) {
            break;
        }
        const auto name = takeUntil(line, ":");
        if (name.empty()) {
            return std::nullopt;
        }
        head.headers.emplace_back(name, trimmed(line));
    }
    return head;
}

std::string RequestHead::header(std::string_view name) const {
    const auto found = std::ranges::find_if(headers, [&](const auto& field) { return isSameName(field.first, name); });
    return found == headers.end() ? std::string() : found->second;
}

std::string RequestHead::path() const {
    return decoded(std::string_view(target).substr(0, target.find('?')), PlusSign::isItself);
}

Fields RequestHead::query() const {
    std::string_view rest = target;
    takeUntil(rest, "?");
    Fields items;
    while (!rest.empty()) {
        auto item = takeUntil(rest, "&");
        const auto name = takeUntil(item, "=");
        items.emplace_back(decoded(name, PlusSign::isSpace), decoded(item, PlusSign::isSpace));
    }
    return items;
}

std::string RequestHead::framing() const {
    std::string text = fmt::format("{} / {}\r\n", method, version);
    for (const auto& [name, value] : headers) {
        if (isFraming(name)) {
            text += fmt::format("{}: {}\r\n", name, value);
        }
    }
    if (header("content-length").empty() && header("transfer-encoding").empty()) {
        text += "Content-Length: 0\r\n";
    }
    return text + "\r\n";
}

} // namespace local_project
