#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace veskline::simulation {

// The folder of one run, in memory where the machine has /dev/shm; gone with all in it afterwards. Where root runs the
// simulation, it acts as an ordinary user as long as this lives, so that permissions count.
class Scratch {
public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    [[nodiscard]] std::string at(std::string_view name) const { return (path_ / name).string(); }
    [[nodiscard]] std::string makeFolder(std::string_view name) const;

private:
    std::filesystem::path path_;
    bool isRoot_;
};

} // namespace veskline::simulation
