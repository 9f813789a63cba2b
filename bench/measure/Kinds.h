#pragma once

#include "measure/Sample.h"

#include <map>
#include <span>
#include <string>
#include <vector>

namespace bench {

using Arguments = std::span<const std::string>;

// A kind of work that a program does once in its life, and what it has to be told.
struct Kind {
    std::vector<std::string> parameters;
    Sample (*run)(Arguments arguments);
};

// The whole of a main(): does the work that the first argument names with those that follow, and prints its sample.
int runKind(const std::map<std::string, Kind>& kinds, int argc, char** argv);

} // namespace bench
