#include "app/ConsoleLine.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cstdlib>

namespace veskline {

namespace {

// systemd.exec(5): JOURNAL_STREAM holds device and inode of the stream that the service manager connected.
bool leadsToJournal(std::FILE* stream) {
    const char* const journal = std::getenv("JOURNAL_STREAM");
    struct stat found = {};
    return journal != nullptr && ::fstat(::fileno(stream), &found) == 0 &&
           fmt::format("{}:{}", found.st_dev, found.st_ino) == journal;
}

} // namespace

void writeLine(std::FILE* stream, Priority priority, std::string_view line) {
    const bool hasPrefix = priority != Priority::none && leadsToJournal(stream);
    const std::string prefix = hasPrefix ? fmt::format("<{}>", static_cast<int>(priority)) : std::string();
    const std::string text = prefix + onOneLine(line) + '\n';
    std::fwrite(text.data(), 1, text.size(), stream);
}

void writeFailure(std::string_view line) {
    writeLine(stderr, Priority::error, line);
}

std::string onOneLine(std::string_view line) {
    std::string text;
    text.reserve(line.size());
    for (const char character : line) {
        const auto code = static_cast<unsigned char>(character);
        if (character == '\n') {
            text += "\\n";
        } else if (code < 0x20 || code == 0x7f) {
            text += fmt::format("\\x{:02x}", code);
        } else {
            text += character;
        }
    }
    return text;
}

} // namespace veskline
