// veskline-endurance [HOURS [SEED]]
//
// Runs the whole program through so many hours of a busy user's life (8 where nothing is said), at some hundred times
// the pace of the clock, and says each hour what it holds of the machine. Ends with 1 where memory, descriptors or
// threads grow, or where a document was lost.

#include "app/Heap.h"
#include "command_line/WholeNumber.h"
#include "endurance/Footprint.h"
#include "endurance/HostedSide.h"
#include "endurance/Life.h"
#include "platform/text/ErrorDescription.h"
#include "support/TemporaryFolder.h"

#include <QGuiApplication>

#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>

namespace {

using namespace veskline;
using namespace veskline::endurance;

constexpr int minutesBetweenLooks = 10;

// All that the program reads of its surroundings.
void settleIn(const TemporaryFolder& folder, const HostedSide& hosted) {
    ::setenv("HOME", folder.string().c_str(), 1);
    ::setenv("VESK_STATE_DIR", folder.at("state").c_str(), 1);
    ::setenv("SUPABASE_URL", hosted.url().c_str(), 1);
    ::setenv("SUPABASE_ANON_KEY", "local-anon-key", 1);
    ::setenv("DASHBOARD_URL", (hosted.url() + "/").c_str(), 1);
    ::setenv("no_proxy", "127.0.0.1", 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("QT_QUICK_BACKEND", "software", 1);
}

void tell(int minute, const Footprint& footprint, const Life& life) {
    fmt::print("{:4}:{:02}  {:6.1f} MiB resident  {:5.1f} MiB in use  {} descriptors  {} connections  {} threads  "
               "{} changes  {} scans  {} starts\n",
               minute / 60, minute % 60, footprint.residentMiB, footprint.heapMiB, footprint.descriptors,
               footprint.connections, footprint.threads, life.documents().changes(), life.scans(), life.starts());
    std::fflush(stdout);
}

int run(Life& life, int hours) {
    life.begin();
    Footprints footprints;
    for (int minute = 0; minute <= hours * 60; ++minute) {
        if (minute % minutesBetweenLooks == 0) {
            life.rest();
            const Footprint footprint = Footprint::now();
            footprints.add(minute, footprint);
            tell(minute, footprint, life);
        }
        life.passMinute(minute);
    }
    auto broken = footprints.broken();
    const std::string summary = life.lastSummary();
    if (summary != fmt::format("Summary: uploaded 0, skipped {}, deleted 0, failed 0.", life.documents().count())) {
        broken.push_back(fmt::format("in the end of {} documents: {}", life.documents().count(), summary));
    }
    for (const std::string& words : broken) {
        fmt::print("Broken: {}.\n", words);
    }
    fmt::print("{} hours: resident memory within {:.2f} MiB after the first; {} promises broken\n", hours,
               footprints.residentSpread(), broken.size());
    std::fflush(stdout);
    return broken.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    constexpr std::uint32_t mostHours = 100'000;
    const auto hours = command_line::wholeNumber(argc > 1 ? argv[1] : "8", mostHours);
    const auto seed = command_line::wholeNumber<std::uint32_t>(argc > 2 ? argv[2] : "1");
    if (hours.value_or(0) == 0 || !seed || argc > 3) {
        const int wrong = hours.value_or(0) == 0 ? 1 : std::min(argc - 1, 3);
        fmt::print(stderr, "veskline-endurance: \"{}\" is not understood: [HOURS [SEED]], whole numbers, is all.\n",
                   argv[wrong]);
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN); // as the program does
    int exitCode = EXIT_FAILURE;
    std::optional<TemporaryFolder> folder(std::in_place);
    try {
        const Heap heap;
        HostedSide hosted(folder->path() / "project");
        settleIn(*folder, hosted);
        DesktopWindow::prepareApplication();
        const QGuiApplication application(argc, argv);
        Life life(folder->path(), hosted, *seed);
        exitCode = run(life, static_cast<int>(*hours));
        folder.reset();
        std::quick_exit(exitCode);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", platform::describe(error).c_str());
        folder.reset();
        std::quick_exit(EXIT_FAILURE);
    }
}
