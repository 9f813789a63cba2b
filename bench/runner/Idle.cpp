#include "runner/Idle.h"

#include "runner/Sink.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <tuple>

namespace bench {

namespace {

constexpr int documents = 100;
constexpr int settlingMilliseconds = 5'000;
constexpr int minuteMilliseconds = 60'000;

void wait(int milliseconds, const Interrupt& interrupt) {
    pollfd interrupted{.fd = interrupt.descriptor(), .events = POLLIN, .revents = 0};
    poll(&interrupted, 1, milliseconds);
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

Account accountOf(pid_t process) {
    Account account;
    for (const auto& thread : std::filesystem::directory_iterator(fmt::format("/proc/{}/task", process))) {
        account.wakeUps += numberIn(thread.path() / "status", "voluntary_ctxt_switches:");
        long nanoseconds = 0;
        std::ifstream(thread.path() / "schedstat") >> nanoseconds;
        account.nanoseconds += nanoseconds;
    }
    return account;
}

} // namespace

Idle::Idle(const Programs& programs, const WorkFolder& data, const Interrupt& interrupt) {
    const std::string folder = data.documents("documents", documents, 1'000);
    for (const char* const how : {"shown", "hidden"}) {
        const Sink sink(programs.floor, interrupt);
        Program program({programs.window, "idle", data.emptyFolder("state"), folder, sink.url(), how}, interrupt);
        std::ignore = program.readLine(); // it is on watch
        wait(settlingMilliseconds, interrupt);
        const Account before = accountOf(program.process());
        wait(minuteMilliseconds, interrupt);
        const Account after = accountOf(program.process());
        const long kibibytes = numberIn(fmt::format("/proc/{}/smaps_rollup", program.process()), "Rss:");
        minutes_.push_back({.how = how == std::string("shown") ? "with its window" : "without",
                            .wakeUps = after.wakeUps - before.wakeUps,
                            .cpuMilliseconds = static_cast<double>(after.nanoseconds - before.nanoseconds) / 1e6,
                            .residentMiB = static_cast<double>(kibibytes) / 1024});
    }
}

std::string Idle::table() const {
    std::string text = "idle: a minute on watch, with one poll of the hosted status\n";
    for (const Minute& minute : minutes_) {
        text += fmt::format("  {:16} {:4} wake-ups, {:.1f} ms of CPU, {:.1f} MiB resident\n", minute.how,
                            minute.wakeUps, minute.cpuMilliseconds, minute.residentMiB);
    }
    return text;
}

nlohmann::json Idle::json() const {
    nlohmann::json all = nlohmann::json::array();
    for (const Minute& minute : minutes_) {
        all.push_back({{"how", minute.how},
                       {"wake_ups", minute.wakeUps},
                       {"cpu_ms", minute.cpuMilliseconds},
                       {"resident_mib", minute.residentMiB}});
    }
    return {{"name", "idle"}, {"minutes", all}};
}

} // namespace bench
