#include "runner/Idle.h"

#include "runner/Sink.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <tuple>

namespace bench {

namespace {

constexpr int documents = 100;
constexpr std::chrono::milliseconds settling{5'000};

void wait(std::chrono::milliseconds time, const Interrupt& interrupt) {
    pollfd interrupted{.fd = interrupt.descriptor(), .events = POLLIN, .revents = 0};
    poll(&interrupted, 1, static_cast<int>(time.count()));
    interrupt.check();
}

// The number behind a name in a file of /proc; zero where it has gone.
long numberIn(const std::filesystem::path& file, const std::string& name) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(name)) {
            return std::stol(line.substr(name.size()));
        }
    }
    return 0;
}

struct Account {
    long wakeUps = 0;
    long nanoseconds = 0; // on a processor: proc(5), /proc/pid/task/tid/schedstat
};

using Accounts = std::map<std::string, Account>; // by thread

Accounts accountsOf(pid_t process) {
    Accounts accounts;
    for (const auto& thread : std::filesystem::directory_iterator(fmt::format("/proc/{}/task", process))) {
        Account& account = accounts[thread.path().filename()];
        account.wakeUps = numberIn(thread.path() / "status", "voluntary_ctxt_switches:");
        std::ifstream(thread.path() / "schedstat") >> account.nanoseconds;
    }
    return accounts;
}

// A thread that has ended meanwhile took its account with it.
Account spent(Accounts before, const Accounts& after) {
    Account sum;
    for (const auto& [thread, account] : after) {
        sum.wakeUps += account.wakeUps - before[thread].wakeUps;
        sum.nanoseconds += account.nanoseconds - before[thread].nanoseconds;
    }
    return sum;
}

} // namespace

Idle::Idle(const Sizes& sizes, const Programs& programs, const WorkFolder& data, const Interrupt& interrupt)
    : duration_(sizes.idle) {
    const std::string folder = data.documents("documents", documents, 1'000);
    for (const char* const how : {"shown", "hidden"}) {
        const Sink sink(programs.floor, interrupt);
        Program program({programs.window, "idle", data.emptyFolder("state"), folder, sink.url(), how}, interrupt);
        std::ignore = program.readLine(); // it is on watch
        wait(settling, interrupt);
        const Accounts before = accountsOf(program.process());
        wait(duration_, interrupt);
        const Account cost = spent(before, accountsOf(program.process()));
        const long kibibytes = numberIn(fmt::format("/proc/{}/smaps_rollup", program.process()), "Rss:");
        watches_.push_back({.how = how == std::string("shown") ? "with its window" : "without",
                            .wakeUps = cost.wakeUps,
                            .cpuMilliseconds = static_cast<double>(cost.nanoseconds) / 1e6,
                            .residentMiB = static_cast<double>(kibibytes) / 1024});
    }
}

std::string Idle::meaning() const {
    return fmt::format(
        "{} s on watch, the hosted status polled each minute; without its window the program is the same, "
        "Qt Quick loaded",
        std::chrono::duration<double>(duration_).count());
}

std::string Idle::table() const {
    std::string text = "idle: " + meaning() + "\n";
    for (const Watch& watch : watches_) {
        text += fmt::format("  {:16} {:4} wake-ups, {:.1f} ms of CPU, {:.1f} MiB resident\n", watch.how, watch.wakeUps,
                            watch.cpuMilliseconds, watch.residentMiB);
    }
    return text;
}

nlohmann::json Idle::json() const {
    nlohmann::json all = nlohmann::json::array();
    for (const Watch& watch : watches_) {
        all.push_back({{"how", watch.how},
                       {"wake_ups", watch.wakeUps},
                       {"cpu_ms", watch.cpuMilliseconds},
                       {"resident_mib", watch.residentMiB}});
    }
    return {{"name", "idle"}, {"meaning", meaning()}, {"watches", all}};
}

} // namespace bench
