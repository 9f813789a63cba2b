#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace veskline::testing {

// Makes permissions count also where the tests run as root: hands a folder with all in it to an ordinary user and acts
// as that user for its own life. Does nothing where an ordinary user runs the tests anyway.
class Unprivileged {
public:
    explicit Unprivileged(const std::filesystem::path& folder) : isRoot_(::geteuid() == 0) {
        if (!isRoot_) {
            return;
        }
        give(folder);
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            give(entry.path());
        }
        if (::setegid(nobody) != 0 || ::seteuid(nobody) != 0) {
            throw std::runtime_error("the test could not act as an ordinary user");
        }
    }
    ~Unprivileged() {
        if (isRoot_ && (::seteuid(0) != 0 || ::setegid(0) != 0)) {
            std::abort();
        }
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    static constexpr id_t nobody = 65534;
    static void give(const std::filesystem::path& path) {
        if (::lchown(path.c_str(), nobody, nobody) != 0) {
            throw std::runtime_error("the test could not give " + path.string() + " away");
        }
    }
    bool isRoot_;
};

} // namespace veskline::testing
