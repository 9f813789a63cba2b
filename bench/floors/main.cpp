#include "floors/Floors.h"

#include <cstdio>
#include <map>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (!arguments.empty() && arguments.front() == "sink") {
        floors::runSink();
    }
    struct Kind {
        bench::Sample (*run)(floors::Arguments);
        std::size_t arguments;
    };
    const std::map<std::string, Kind> kinds{
        {"walk", {floors::walk, 1}}, {"rescan", {floors::rescan, 2}}, {"digest", {floors::digest, 2}},
        {"sync", {floors::sync, 3}}, {"upload", {floors::upload, 4}},
    };
    const auto kind = arguments.empty() ? kinds.end() : kinds.find(arguments.front());
    if (kind == kinds.end() || arguments.size() != kind->second.arguments + 1) {
        std::fputs("veskline-bench-floor walk TREE | rescan TREE STATE | digest SMALL FILE | sync URL FOLDER STATE | "
                   "upload URL SMALL FILE STATE | sink\n",
                   stderr);
        return 2;
    }
    printSample(kind->second.run(std::span(arguments).subspan(1)));
}
