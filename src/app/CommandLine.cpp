#include "app/CommandLine.h"

#include <fmt/format.h>

#include <string_view>

namespace veskline {

namespace {

constexpr std::string_view help =
    R"(Veskline keeps your documents uploaded to your hosted project, where they become searchable.

Usage: veskline [-h | --help | -v | --version]

Without a display it runs without its window and logs to standard output. While it runs,
another start for the same state folder shows the window of the first and ends.

Environment:
  SUPABASE_URL, SUPABASE_ANON_KEY, DASHBOARD_URL
                           the hosted project, where all three are set; else the file
                           public-config.json names it, and the next three are not asked
  SUPABASE_BUCKET          its bucket of documents
  SUPABASE_FILES_BUCKET    the same where the one above is not set; "files" by default
  VESK_MAX_UPLOAD_BYTES    the largest document that is uploaded; 5368709120 by default
  VESK_STATE_DIR           the folder of session, queue and state; by default
                           VesklineNative in XDG_DATA_HOME, else in ~/.local/share
  https_proxy, http_proxy, all_proxy, no_proxy
                           proxies, as curl(1) has them

Exit codes:
  0  it ended by its window or a signal, or left the state folder to an agent that runs
  1  it could not start or go on, or an agent that runs does not answer; standard error,
     or the window, says why
  2  the command line is wrong
  3  without a display: nobody is signed in
  4  without a display: the project could not be asked who is signed in

More in veskline(1).
)";

} // namespace

CommandLine CommandLine::parse(std::span<char* const> arguments) {
    if (arguments.size() < 2) {
        return {.isRun = true, .text = {}};
    }
    const std::string_view word = arguments[1];
    const bool isAlone = arguments.size() == 2;
    if ((word == "--help" || word == "-h") && isAlone) {
        return {.text = std::string(help)};
    }
    if ((word == "--version" || word == "-v") && isAlone) {
        return {.text = "veskline " VESKLINE_VERSION "\n"};
    }
    return {.text = fmt::format("veskline: \"{}\" is not understood. There are --help and --version alone.\n",
                                isAlone ? word : arguments[2]),
            .exitCode = misused};
}

} // namespace veskline
