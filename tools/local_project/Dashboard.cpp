#include "local_project/Dashboard.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>
#include <utility>

#include <fmt/format.h>

namespace local_project {

using nlohmann::json;

namespace {

// A browser lays out a thousand rows at every refresh without being felt.
constexpr std::size_t shownRows = 1000;

constexpr std::string_view pageHead = R"(<!doctype html>
<html lang="en"><head><meta charset="utf-8"><meta http-equiv="refresh" content="2">
<meta name="viewport" content="width=device-width"><title>Veskline local project</title><style>
:root{color-scheme:light dark;--ink:#1c2430;--soft:#667085;--line:#e4e7ec;--page:#f7f8fa;--card:#fff;
--good:#0a7a4b;--wait:#8a5a00;--bad:#b42318}
@media(prefers-color-scheme:dark){:root{--ink:#e6e9ef;--soft:#98a2b3;--line:#2b3240;--page:#12161d;--card:#1a2029;
--good:#4cc38a;--wait:#e0b252;--bad:#ff8a7d}}
body{margin:0;padding:32px;background:var(--page);color:var(--ink);font:14px/1.5 system-ui,sans-serif}
main{max-width:1100px;margin:auto}h1{font-size:22px;margin:0}h2{font-size:15px;margin:28px 0 8px}
.tiles{display:flex;gap:12px;margin-top:18px;flex-wrap:wrap}.tile{background:var(--card);border:1px solid var(--line);
border-radius:10px;padding:10px 18px;min-width:96px}.tile b{display:block;font-size:22px}.tile span,.soft{color:var(--soft)}
table{width:100%;border-collapse:collapse;background:var(--card);border:1px solid var(--line);border-radius:10px}
th{text-align:left;font-weight:600;color:var(--soft)}th,td{padding:7px 12px;border-bottom:1px solid var(--line)}
td{overflow-wrap:anywhere}.number{text-align:right;white-space:nowrap}
.good{color:var(--good)}.wait{color:var(--wait)}.bad{color:var(--bad)}
</style></head><body><main><h1>Veskline local project</h1>
<div class="soft">A hosted project on this machine. The page refreshes itself.</div>
)";

std::string escapedHtml(std::string_view text) {
    std::string escaped;
    for (const char byte : text) {
        switch (byte) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += byte;
        }
    }
    return escaped;
}

std::string textAt(const json& row, const char* name) {
    const auto found = row.find(name);
    return found != row.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::string timeAt(const json& row, const char* name) {
    constexpr std::size_t shownCharacters = 19; // without the fraction and the zone
    std::string time = textAt(row, name).substr(0, shownCharacters);
    std::ranges::replace(time, 'T', ' ');
    return time;
}

std::string sizeText(const json& bytes) {
    static constexpr std::array<const char*, 4> units = {"KB", "MB", "GB", "TB"};
    if (!bytes.is_number_integer()) {
        return "";
    }
    constexpr double step = 1000;
    auto size = bytes.get<double>();
    if (size < step) {
        return fmt::format("{:.0f} bytes", size);
    }
    std::size_t unit = 0;
    for (size /= step; size >= step && unit + 1 < units.size(); ++unit) {
        size /= step;
    }
    return fmt::format("{:.1f} {}", size, units[unit]);
}

// The class of colour and the words that tell how far a file has got.
std::pair<std::string_view, std::string> fileState(const json& file) {
    if (file.value("is_deleted", false)) {
        return {"soft", "deleted"};
    }
    if (const std::string error = textAt(file, "ingest_error"); !error.empty()) {
        return {"bad", error};
    }
    const bool isIngested = !textAt(file, "sha256").empty() && file["sha256"] == file["ingested_sha256"];
    return isIngested ? std::pair<std::string_view, std::string>("good", "searchable")
                      : std::pair<std::string_view, std::string>("wait", "uploaded");
}

std::string fileRow(const json& file) {
    const auto [colour, words] = fileState(file);
    return fmt::format(
        R"(<tr><td>{}</td><td class="number">{}</td><td class="{}">{}</td><td class="soft">{}</td></tr>)",
        escapedHtml(textAt(file, "path")), sizeText(file["bytes"]), colour, escapedHtml(words),
        timeAt(file, "ingested_at"));
}

std::string jobRow(const json& job, const std::map<std::string, std::string>& paths) {
    const std::string status = textAt(job, "status");
    const auto path = paths.find(textAt(job, "file_id"));
    const std::string_view colour = status == "done" ? "good" : status == "error" ? "bad" : "wait";
    return fmt::format(R"(<tr><td>{}</td><td>{}</td><td class="{}">{} {}</td><td class="soft">{}</td></tr>)",
                       escapedHtml(textAt(job, "kind")), path == paths.end() ? "" : escapedHtml(path->second), colour,
                       escapedHtml(status), escapedHtml(textAt(job, "error")), timeAt(job, "created_at"));
}

std::string tile(std::string_view words, std::size_t count) {
    return fmt::format(R"(<div class="tile"><b>{}</b><span>{}</span></div>)", count, words);
}

std::string tiles(const json& files, const json& jobs) {
    const auto jobsThatAre = [&](std::string_view status) {
        return static_cast<std::size_t>(
            std::ranges::count_if(jobs, [&](const json& job) { return textAt(job, "status") == status; }));
    };
    const auto present =
        std::ranges::count_if(files, [](const json& file) { return !file.value("is_deleted", false); });
    return fmt::format(R"(<div class="tiles">{}{}{}{}</div>)", tile("files", static_cast<std::size_t>(present)),
                       tile("queued", jobsThatAre("queued")), tile("running", jobsThatAre("running")),
                       tile("failed", jobsThatAre("error")));
}

template <typename Row>
std::string section(std::string_view title, std::string_view columns, const json& rows, const Row& rowText) {
    std::string text = fmt::format("<h2>{}</h2><table><tr>{}</tr>", title, columns);
    std::size_t shown = 0;
    for (auto row = rows.rbegin(); row != rows.rend() && shown < shownRows; ++row, ++shown) {
        text += rowText(*row);
    }
    return text + (rows.empty() ? R"(<tr><td class="soft" colspan="4">Nothing yet.</td></tr></table>)" : "</table>");
}

} // namespace

std::string dashboardPage(const json& files, const json& jobs) {
    std::map<std::string, std::string> paths;
    for (const json& file : files) {
        paths.emplace(textAt(file, "id"), textAt(file, "path"));
    }
    return std::string(pageHead) + tiles(files, jobs) +
           section("Files", R"(<th>Path</th><th class="number">Size</th><th>State</th><th>Ingested</th>)", files,
                   fileRow) +
           section("Jobs", "<th>Kind</th><th>File</th><th>State</th><th>Queued</th>", jobs,
                   [&](const json& job) { return jobRow(job, paths); }) +
           "</main></body></html>\n";
}

} // namespace local_project
