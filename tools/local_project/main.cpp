#include "local_project/LocalProject.h"
#include "local_project/Options.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <span>

#include <fmt/format.h>

namespace {

constexpr int endedBadly = 1;
constexpr int badCommandLine = 2;

// Renamed into place, so that whoever waits for the file never reads half a number.
void writePort(const std::filesystem::path& file, std::uint16_t port) {
    const std::filesystem::path draft = file.string() + ".part";
    std::ofstream stream(draft);
    stream << port << '\n';
    stream.close();
    if (!stream) {
        throw std::runtime_error(fmt::format("cannot write {}", draft.string()));
    }
    std::filesystem::rename(draft, file);
}

// Held back in every thread, so that the one that waits for them gets them.
sigset_t holdEndingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void run(const local_project::Options& options) {
    const sigset_t signals = holdEndingSignals();
    local_project::LocalProject project(options);
    project.start(options.port);
    if (options.portFile) {
        writePort(*options.portFile, project.port());
    }
    fmt::print("Veskline local project on {}\n", project.baseUrl());
    std::fflush(stdout);
    int signal = 0;
    sigwait(&signals, &signal);
    project.stop();
}

} // namespace

int main(int count, char** words) {
    try {
        const auto options = local_project::parseOptions(std::span<const char* const>(words, words + count).subspan(1));
        if (!options) {
            fmt::print("{}", local_project::usage());
            return 0;
        }
        run(*options);
        return 0;
    } catch (const local_project::UsageError& error) {
        fmt::print(stderr, "veskline-local-project: {}\n", error.what());
        return badCommandLine;
    } catch (const std::exception& error) {
        fmt::print(stderr, "veskline-local-project: {}\n", error.what());
        return endedBadly;
    }
}
