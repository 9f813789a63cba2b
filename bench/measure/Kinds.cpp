#include "measure/Kinds.h"

#include <csignal>
#include <cstdio>
#include <exception>

namespace bench {

int runKind(const std::map<std::string, Kind>& kinds, int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto kind = arguments.empty() ? kinds.end() : kinds.find(arguments.front());
    if (kind == kinds.end() || arguments.size() != kind->second.parameters.size() + 1) {
        for (const auto& [name, known] : kinds) {
            std::fprintf(stderr, "%s %s", argv[0], name.c_str());
            for (const std::string& parameter : known.parameters) {
                std::fprintf(stderr, " %s", parameter.c_str());
            }
            std::fputs("\n", stderr);
        }
        return 2;
    }
    try {
        printSample(kind->second.run(Arguments(arguments).subspan(1)));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

} // namespace bench
