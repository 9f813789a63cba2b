#include "agent_stand/Machine.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace agent_stand {

namespace {

MachineControl* mapControl(const std::string& path) {
    ::unlink(path.c_str()); // a program that maps an earlier one keeps that
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    void* place = MAP_FAILED;
    if (file >= 0 && ::ftruncate(file, sizeof(MachineControl)) == 0) {
        place = ::mmap(nullptr, sizeof(MachineControl), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    }
    const int number = errno;
    ::close(file);
    if (place == MAP_FAILED) {
        throw std::system_error(number, std::generic_category(), path);
    }
    return static_cast<MachineControl*>(place);
}

// As preload/Faults.cpp reads it.
std::string written(const std::vector<Machine::Fault>& faults) {
    if (faults.size() > Machine::mostFaults) {
        throw std::invalid_argument(fmt::format("a machine has {} faults at most", Machine::mostFaults));
    }
    std::string text;
    for (const Machine::Fault& fault : faults) {
        const bool hasBlank = fault.path.find_first_of(" \t\n") != std::string::npos;
        if (fault.path.empty() || fault.path.size() > Machine::longestPath || hasBlank) {
            throw std::invalid_argument(fmt::format("a fault can't be on the path \"{}\"", fault.path));
        }
        text += fmt::format("{} {} {} {} {} {}\n", fault.call, fault.path, static_cast<int>(fault.action), fault.error,
                            fault.skip, fault.count);
    }
    return text;
}

} // namespace

Machine::Machine(const std::filesystem::path& folder, const std::vector<Fault>& faults)
    : file_((folder / "machine").string()), faults_(written(faults)), control_(mapControl(file_)) {
    turnOn(true);
}

Machine::~Machine() {
    ::munmap(control_, sizeof(MachineControl));
}

Program::Environment Machine::added(Program::Environment environment) const {
    const auto programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    environment["LD_PRELOAD"] = (programs / "libveskline-machine.so").string();
    environment["VESKLINE_MACHINE_CONTROL"] = file_;
    environment["VESKLINE_MACHINE_FAULTS"] = faults_;
    return environment;
}

void Machine::advance(std::chrono::nanoseconds time) noexcept {
    control_->monotonicShift += time.count();
    control_->wallShift += time.count();
}

void Machine::moveWallClock(std::chrono::nanoseconds by) noexcept {
    control_->wallShift += by.count();
}

void Machine::turnOn(bool isOn) noexcept {
    control_->isOn = isOn ? 1 : 0;
}

std::uint32_t Machine::hits() const noexcept {
    return control_->hits;
}

bool Machine::waitForHeld(std::uint32_t calls) const {
    const auto end = std::chrono::steady_clock::now() + Program::patience;
    while (control_->held < calls && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return control_->held >= calls;
}

void Machine::release() noexcept {
    control_->released = forEver;
}

} // namespace agent_stand
