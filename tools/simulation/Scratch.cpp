#include "simulation/Scratch.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace veskline::simulation {

namespace {

constexpr id_t nobody = 65534;

std::filesystem::path makeScratchFolder() {
    const bool hasMemory = ::access("/dev/shm", W_OK | X_OK) == 0;
    const std::filesystem::path parent = hasMemory ? "/dev/shm" : std::filesystem::temp_directory_path();
    std::string name = (std::filesystem::canonical(parent) / "veskline-simulation-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "No folder could be made for the simulation");
    }
    return name;
}

} // namespace

Scratch::Scratch() : path_(makeScratchFolder()), isRoot_(::geteuid() == 0) {
    if (!isRoot_) {
        return;
    }
    if (::chown(path_.c_str(), nobody, nobody) != 0 || ::setegid(nobody) != 0 || ::seteuid(nobody) != 0) {
        throw std::system_error(errno, std::generic_category(), "The simulation could not act as an ordinary user");
    }
}

Scratch::~Scratch() {
    if (isRoot_ && (::seteuid(0) != 0 || ::setegid(0) != 0)) {
        std::abort(); // whoever runs on would act as somebody else
    }
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string Scratch::makeFolder(std::string_view name) const {
    std::filesystem::create_directories(path_ / name);
    return at(name);
}

} // namespace veskline::simulation
