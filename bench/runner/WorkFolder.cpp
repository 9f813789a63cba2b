#include "runner/WorkFolder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

namespace bench {

namespace {

constexpr std::int64_t filesPerFolder = 20;
constexpr std::int64_t foldersPerFolder = 10;
constexpr std::array<const char*, 7> extensions{"pdf", "docx", "txt", "md", "csv", "rtf", "epub"};

[[noreturn]] void fail(const std::string& path) {
    throw std::system_error(errno, std::generic_category(), path);
}

class NewFile {
public:
    explicit NewFile(const std::string& path)
        : path_(path), descriptor_(open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0644)) {
        if (descriptor_ < 0) {
            fail(path);
        }
    }
    ~NewFile() { close(descriptor_); }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // All zeros, and nothing of it is stored.
    void setSize(std::int64_t bytes) const {
        if (ftruncate(descriptor_, bytes) != 0) {
            fail(path_);
        }
    }
    void write(const std::string& text) const {
        if (::write(descriptor_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            fail(path_);
        }
    }

private:
    const std::string& path_;
    int descriptor_;
};

std::string place() {
    const char* chosen = std::getenv("TMPDIR");
    if (chosen != nullptr && *chosen != '\0') {
        return chosen;
    }
    return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
}

std::string documentName(std::int64_t folder, std::int64_t file) {
    const auto extension = static_cast<std::size_t>(folder + file) % extensions.size();
    return fmt::format("report {:03} of project-{:05}.{}", file, folder, extensions[extension]);
}

} // namespace

WorkFolder::WorkFolder(const Interrupt& interrupt) : interrupt_(interrupt), path_(place() + "/bench.XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) {
        fail(path_);
    }
}

WorkFolder::~WorkFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string WorkFolder::emptyFolder(const std::string& name) const {
    std::string path = path_ + "/" + name;
    std::filesystem::remove_all(path);
    std::filesystem::create_directory(path);
    return path;
}

std::string WorkFolder::tree(const std::string& name, std::int64_t files) const {
    std::string path = emptyFolder(name);
    for (std::int64_t first = 0; first < files; first += filesPerFolder) {
        interrupt_.check();
        const std::int64_t number = first / filesPerFolder;
        const std::string folder =
            fmt::format("{}/d{:02}/e{:02}/Folder {:05}", path, number / 1000, number / 100 % 10, number);
        std::filesystem::create_directories(folder);
        for (std::int64_t file = 0; file < std::min(filesPerFolder, files - first); ++file) {
            NewFile(folder + "/" + documentName(number, file)).setSize(100 + file);
        }
    }
    return path;
}

std::string WorkFolder::documents(const std::string& name, std::int64_t files, std::int64_t bytes) const {
    std::string path = emptyFolder(name);
    for (std::int64_t file = 0; file < files; ++file) {
        interrupt_.check();
        std::string text = fmt::format("document {}\n", file);
        text.resize(static_cast<std::size_t>(bytes), 'x');
        NewFile(path + "/" + documentName(0, file)).write(text);
    }
    return path;
}

std::string WorkFolder::folders(const std::string& name, std::int64_t count) const {
    std::vector<std::string> paths{emptyFolder(name)};
    for (std::int64_t number = 0; number < count; ++number) {
        interrupt_.check();
        if (number > 0) {
            const auto parent = static_cast<std::size_t>((number - 1) / foldersPerFolder);
            paths.push_back(fmt::format("{}/Folder {:05}", paths[parent], number));
            std::filesystem::create_directory(paths.back());
        }
        NewFile(paths.back() + "/" + documentName(number, 0)).setSize(100);
    }
    return paths.front();
}

std::string WorkFolder::file(const std::string& name, std::int64_t bytes) const {
    std::string path = path_ + "/" + name;
    const NewFile made(path);
    std::string block(std::size_t{1} << 20U, 'x');
    for (std::int64_t written = 0; written < bytes; written += static_cast<std::int64_t>(block.size())) {
        interrupt_.check();
        block.replace(0, 20, fmt::format("{:020}", written));
        made.write(block);
    }
    return path;
}

} // namespace bench
