#include "floors/Floors.h"
#include "floors/FoundFiles.h"
#include "measure/Stopwatch.h"

namespace floors {

bench::Sample walk(Arguments arguments) {
    const bench::Stopwatch stopwatch;
    const FoundFiles found(arguments[0]);
    return stopwatch.stop(static_cast<std::int64_t>(found.files.size()));
}

} // namespace floors
