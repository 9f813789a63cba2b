#include "measure/Stopwatch.h"
#include "rules/FileRules.h"
#include "work/Engine.h"
#include "work/RememberedTree.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

// One kind of the agent's work, done once by its own classes in a process of its own. The arguments are those of the
// floors.

namespace {

using namespace bench;
using Arguments = std::span<const std::string>;

// Nothing listens there: work that needs the hosted project fails.
constexpr const char* noProject = "http://127.0.0.1:9";

// All state of the agent lies in `folder`, and it finds none of an older application.
void keepStateIn(const std::string& folder) {
    setenv("VESK_STATE_DIR", folder.c_str(), 1);
    setenv("XDG_DATA_HOME", folder.c_str(), 1);
}

Sample walk(Arguments arguments) {
    const Stopwatch stopwatch;
    const veskline::FileEnumerationResult found = veskline::FileRules::enumerateFiles(arguments[0]);
    return stopwatch.stop(static_cast<std::int64_t>(found.supportedFiles.size()));
}

Sample rescan(Arguments arguments) {
    keepStateIn(arguments[1]);
    Engine engine(noProject);
    const Stopwatch stopwatch;
    const veskline::ScanCounters counters = engine.startSync(arguments[0]);
    return stopwatch.stop(counters.skipped);
}

Sample digest(Arguments arguments) {
    const auto digestFile = [](const std::string& path) {
        return static_cast<std::int64_t>(veskline::FileRules::sha256Hex(path).size());
    };
    digestFile(arguments[0]);
    const Stopwatch stopwatch;
    return stopwatch.stop(digestFile(arguments[1]));
}

Sample sync(Arguments arguments) {
    keepStateIn(arguments[2]);
    Engine engine(arguments[0]);
    const Stopwatch stopwatch;
    const veskline::ScanCounters counters = engine.startSync(arguments[1]);
    return stopwatch.stop(counters.uploaded);
}

Sample upload(Arguments arguments) {
    keepStateIn(arguments[3]);
    Engine engine(arguments[0]);
    engine.upload(arguments[1]);
    const Stopwatch stopwatch;
    engine.upload(arguments[2]);
    return stopwatch.stop(static_cast<std::int64_t>(std::filesystem::file_size(arguments[2])));
}

// No measurement: prepares the state folder that rescan is given.
Sample remember(Arguments arguments) {
    keepStateIn(arguments[1]);
    const Stopwatch stopwatch;
    return stopwatch.stop(rememberTree(arguments[0]));
}

} // namespace

int main(int argc, char** argv) {
    struct Kind {
        Sample (*run)(Arguments);
        std::size_t arguments;
    };
    const std::map<std::string, Kind> kinds{
        {"walk", {walk, 1}}, {"rescan", {rescan, 2}}, {"digest", {digest, 2}},
        {"sync", {sync, 3}}, {"upload", {upload, 4}}, {"remember", {remember, 2}},
    };
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto kind = arguments.empty() ? kinds.end() : kinds.find(arguments.front());
    if (kind == kinds.end() || arguments.size() != kind->second.arguments + 1) {
        std::fputs("veskline-bench-work walk TREE | rescan TREE STATE | digest SMALL FILE | sync URL FOLDER STATE | "
                   "upload URL SMALL FILE STATE | remember TREE STATE\n",
                   stderr);
        return 2;
    }
    try {
        std::signal(SIGPIPE, SIG_IGN);
        printSample(kind->second.run(Arguments(arguments).subspan(1)));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
