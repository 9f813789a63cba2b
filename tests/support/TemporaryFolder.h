#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

// A folder of a test's or a tool's own, gone with all it holds when that ends. It lies in memory where the machine has
// /dev/shm, since a commit to a disk costs most of a millisecond, and has no links in its path.
class TemporaryFolder {
public:
    TemporaryFolder() : path_(make()) {}
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    [[nodiscard]] std::string string() const { return path_.string(); }

    // The path of `name` inside, as text.
    [[nodiscard]] std::string at(std::string_view name) const { return (path_ / name).string(); }
    [[nodiscard]] bool has(std::string_view name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(at(name)));
    }

    // Writes a whole file, with the folders above it; gives its path.
    std::string write(std::string_view name, std::string_view content) const {
        const std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(content.data(), static_cast<std::streamsize>(content.size()));
        if (!out.flush()) {
            throw std::runtime_error("the test could not write " + file.string());
        }
        return file.string();
    }
    std::string makeFolder(std::string_view name) const {
        std::filesystem::create_directories(path_ / name);
        return at(name);
    }
    // The content of a file; empty where there is none, or a folder.
    [[nodiscard]] std::string read(std::string_view name) const {
        if (!std::filesystem::is_regular_file(path_ / name)) {
            return {};
        }
        std::ifstream in(path_ / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    // A new folder of that kind, which is its caller's to remove.
    static std::filesystem::path make(std::string_view name = "veskline-test") {
        const bool hasMemory = ::access("/dev/shm", W_OK | X_OK) == 0;
        const std::filesystem::path parent = hasMemory ? "/dev/shm" : std::filesystem::temp_directory_path();
        std::string path = (std::filesystem::canonical(parent) / name).string() + "-XXXXXX";
        if (::mkdtemp(path.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), "a temporary folder could not be made");
        }
        return path;
    }

private:
    std::filesystem::path path_;
};
