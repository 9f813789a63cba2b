#pragma once

#include "support/TemporaryFolder.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace veskline::test {

// Faults that a test puts around a store, each taken back at its end.

constexpr uid_t nobody = 65534;

// For the calls of a test that cannot fail, or else the test means nothing.
inline void must(int result) {
    if (result != 0) {
        std::abort();
    }
}

// Nothing may write a file past its first `bytes` bytes, as on a disk that is full.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        must(::getrlimit(RLIMIT_FSIZE, &old_));
        const rlimit limit{bytes, old_.rlim_max};
        must(::setrlimit(RLIMIT_FSIZE, &limit));
    }
    ~FileSizeLimit() { must(::setrlimit(RLIMIT_FSIZE, &old_)); }

private:
    rlimit old_{};
};

// A test that runs as root is another user meanwhile; any other stays who it is.
class Unprivileged {
public:
    Unprivileged() : user_(::geteuid()) { must(user_ == 0 ? ::seteuid(nobody) : 0); }
    ~Unprivileged() { must(::seteuid(user_)); }

private:
    uid_t user_;
};

// Nothing may be created, renamed or removed in the folder.
class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(std::string path) : path_(std::move(path)) {
        must(::chmod(path_.c_str(), 0555));
        user_.emplace();
    }
    ~ReadOnlyFolder() {
        user_.reset();
        must(::chmod(path_.c_str(), 0700));
    }

private:
    std::string path_;
    std::optional<Unprivileged> user_;
};

// A variable of the environment, set or removed.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const std::optional<std::string>& value) : name_(name) {
        const char* const old = std::getenv(name);
        old_ = old != nullptr ? std::optional<std::string>(old) : std::nullopt;
        set(value);
    }
    ~EnvironmentVariable() { set(old_); }

private:
    void set(const std::optional<std::string>& value) const {
        must(value ? ::setenv(name_, value->c_str(), 1) : ::unsetenv(name_));
    }

    const char* name_;
    std::optional<std::string> old_;
};

// What another user of the machine may put at `place`, with the help of a file `target` where it needs one.
struct PlantedFile {
    const char* name;
    std::function<void(const std::string& target, const std::string& place)> plant;
};

inline std::vector<PlantedFile> plantedFiles() {
    std::vector<PlantedFile> files{
        {"a link", [](auto& target, auto& place) { std::filesystem::create_symlink(target, place); }},
        {"a second name", [](auto& target, auto& place) { std::filesystem::create_hard_link(target, place); }}};
    if (::geteuid() == 0) { // who else can give a file away?
        files.push_back({"another user's file", [](auto& target, auto& place) {
                             std::filesystem::copy_file(target, place);
                             must(::chown(place.c_str(), nobody, nobody));
                         }});
    }
    return files;
}

inline mode_t modeOf(const std::string& path) {
    struct stat attributes{};
    must(::stat(path.c_str(), &attributes));
    return attributes.st_mode & 07777U;
}

// The words of what `action` throws.
template <class Action>
std::string failureOf(Action action) {
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no failure";
}

} // namespace veskline::test
