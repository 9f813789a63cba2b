#include "measure/Kinds.h"
#include "rules/FileRules.h"
#include "work/Engine.h"
#include "work/UploadedTree.h"
#include "work/Watch.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <tuple>
#include <utility>

// One kind of the agent's work, done once by its own classes in a process of its own. The arguments are those of the
// floors.

namespace {

using namespace bench;
using namespace veskline;

// Nothing listens there: work that needs the hosted project fails.
constexpr const char* noProject = "http://127.0.0.1:9";

// All state of the agent lies in `folder`, and it finds none of an older application.
void keepStateIn(const std::string& folder) {
    setenv("VESK_STATE_DIR", folder.c_str(), 1);
    setenv("XDG_DATA_HOME", folder.c_str(), 1);
}

Sample walk(Arguments arguments) {
    const Stopwatch stopwatch;
    const FileEnumerationResult found = FileRules::enumerateFiles(arguments[0]);
    return stopwatch.stop(static_cast<std::int64_t>(found.supportedFiles.size()));
}

// Nobody is signed in, so that neither asks the project who it is.
Sample start(Arguments arguments) {
    keepStateIn(arguments[1]);
    Engine engine(noProject);
    const Stopwatch stopwatch;
    return stopwatch.stop(engine.startSync(arguments[0]).skipped);
}

Sample rescan(Arguments arguments) {
    keepStateIn(arguments[1]);
    Engine engine(noProject);
    engine.startSync(arguments[0]);
    return engine.rescan(arguments[0]);
}

Sample digest(Arguments arguments) {
    const auto digestFile = [](const std::string& path) {
        return static_cast<std::int64_t>(FileRules::sha256Hex(path).size());
    };
    digestFile(arguments[0]);
    const Stopwatch stopwatch;
    return stopwatch.stop(digestFile(arguments[1]));
}

Sample sync(Arguments arguments) {
    keepStateIn(arguments[2]);
    Engine engine(arguments[0]);
    engine.signIn();
    const Stopwatch stopwatch;
    return stopwatch.stop(engine.startSync(arguments[1]).uploaded);
}

Sample upload(Arguments arguments) {
    keepStateIn(arguments[3]);
    Engine engine(arguments[0]);
    engine.signIn();
    engine.upload(arguments[1]);
    const Stopwatch stopwatch;
    engine.upload(arguments[2]);
    return stopwatch.stop(static_cast<std::int64_t>(std::filesystem::file_size(arguments[2])));
}

Sample watch(Arguments arguments) {
    return Watch(arguments[0], std::stoll(arguments[1])).setUp();
}

Sample events(Arguments arguments) {
    auto changes = std::make_shared<const Changes>(arguments[0], std::stoll(arguments[2]));
    Watch watch(arguments[0], std::stoll(arguments[1]), std::move(changes));
    std::ignore = watch.setUp();
    return watch.takeChanges();
}

// No measurement: prepares the state folder that rescan is given.
Sample remember(Arguments arguments) {
    keepStateIn(arguments[1]);
    return {.count = rememberAsUploaded(arguments[0])};
}

} // namespace

int main(int argc, char** argv) {
    return runKind({{"walk", {{"TREE"}, walk}},
                    {"start", {{"TREE", "STATE"}, start}},
                    {"rescan", {{"TREE", "STATE"}, rescan}},
                    {"digest", {{"SMALL", "LARGE"}, digest}},
                    {"sync", {{"URL", "FOLDER", "STATE"}, sync}},
                    {"upload", {{"URL", "SMALL", "LARGE", "STATE"}, upload}},
                    {"watch", {{"TREE", "FOLDERS"}, watch}},
                    {"events", {{"TREE", "FOLDERS", "CHANGES"}, events}},
                    {"remember", {{"TREE", "STATE"}, remember}}},
                   argc, argv);
}
