#include "app/ConsoleLog.h"

#include "app/ConsoleLine.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace veskline {

namespace {

struct Kind {
    std::string_view beginning;
    Priority priority;
};

constexpr std::array<Kind, 7> kinds{{
    {"Upload failed", Priority::error},
    {"Retry failed for ", Priority::error},
    {"Rescan failed for ", Priority::error},
    {"Auto-start failed: ", Priority::error},
    {"Delete sync warning for ", Priority::warning},
    {"Folder not available: ", Priority::warning},
    {"File too large for upload", Priority::warning},
}};

Priority priorityOf(std::string_view line) {
    for (const Kind& kind : kinds) {
        if (line.starts_with(kind.beginning)) {
            return kind.priority;
        }
    }
    return Priority::none;
}

} // namespace

void writeLogToStandardOutput(DesktopAppModel& model) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    model.observe([&model](ModelField field) {
        if (field == ModelField::logLines) {
            const std::string_view line = model.logLines().back();
            writeLine(stdout, priorityOf(line), line);
        }
    });
}

} // namespace veskline
