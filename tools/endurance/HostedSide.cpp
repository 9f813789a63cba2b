#include "endurance/HostedSide.h"

#include "local_project/LocalProject.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace veskline::endurance {

namespace {

using local_project::LocalProject;

constexpr double flakyShare = 0.02;

void refuse(LocalProject& project, double share) {
    project.faults().clear();
    project.faults().add(nlohmann::json{{"kind", "status"}, {"status", 503}, {"rate", share}});
}

void obey(LocalProject& project, char command) {
    switch (command) {
    case 'e':
        project.accounts().expireAccessTokens();
        break;
    case 'w':
        project.faults().clear();
        break;
    case 'f':
        refuse(project, flakyShare);
        break;
    case 'a':
        refuse(project, 1);
        break;
    default:
        break;
    }
}

// The whole life of the child: it says where it is, then does as it is told until nobody is left to tell it.
void serve(const std::filesystem::path& folder, int commands, int answers) {
    LocalProject project({.data = folder, .users = {{HostedSide::email, HostedSide::password}}, .journalLimit = 100});
    project.start();
    const std::string line = project.baseUrl() + '\n';
    if (write(answers, line.data(), line.size()) < 0) {
        return;
    }
    for (char command = 0; read(commands, &command, 1) == 1;) {
        obey(project, command);
    }
}

std::string readLine(int descriptor) {
    std::string line;
    for (char next = 0; read(descriptor, &next, 1) == 1 && next != '\n';) {
        line += next;
    }
    return line;
}

} // namespace

HostedSide::HostedSide(const std::filesystem::path& folder) {
    std::array<int, 2> commands{};
    std::array<int, 2> answers{};
    if (pipe2(commands.data(), O_CLOEXEC) != 0 || pipe2(answers.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("There are no pipes left.");
    }
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(commands[1]);
        try {
            serve(folder, commands[0], answers[1]);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
        std::_Exit(EXIT_SUCCESS);
    }
    close(commands[0]);
    close(answers[1]);
    commands_ = commands[1];
    url_ = readLine(answers[0]);
    close(answers[0]);
    if (url_.empty()) {
        throw std::runtime_error("The hosted project did not start.");
    }
}

HostedSide::~HostedSide() {
    close(commands_);
    waitpid(process_, nullptr, 0);
}

void HostedSide::tell(char command) const {
    if (write(commands_, &command, 1) != 1) {
        throw std::runtime_error("The hosted project has ended.");
    }
}

} // namespace veskline::endurance
