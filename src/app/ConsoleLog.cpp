#include "app/ConsoleLog.h"

#include <fmt/format.h>

#include <cstdio>

namespace veskline {

void writeLogToStandardOutput(DesktopAppModel& model) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    model.observe([&model](ModelField field) {
        if (field == ModelField::logLines) {
            std::puts(onOneLine(model.logLines().back()).c_str());
        }
    });
}

void reportMissingUser(DesktopAppModel& model) {
    model.observe([&model](ModelField field) {
        if (field == ModelField::currentUser && !model.currentUser()) {
            fmt::print(
                stderr,
                "Nothing is synced: nobody is signed in, or {} could not be asked. If it can be reached from here, "
                "start Veskline on a desktop with the same state folder and sign in; then start this again.\n",
                onOneLine(model.config().supabaseURL));
        }
    });
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
