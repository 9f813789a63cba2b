#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace floors {

// A path in an arena, followed by a zero byte.
struct FoundFile {
    const char* path;
    std::size_t length;

    [[nodiscard]] std::string_view text() const { return {path, length}; }
};

// The files of a tree that bear one of the extensions, by the least walk: openat and getdents64 for each folder, no
// call for a file, paths copied once.
class FoundFiles {
public:
    explicit FoundFiles(const std::string& root);

    std::vector<FoundFile> files;

private:
    void walk(int parent, const char* name, std::size_t pathLength);
    void add(std::string_view name, std::size_t pathLength);

    static constexpr std::size_t bufferBytes = 65536;
    static constexpr std::size_t blockBytes = std::size_t{1} << 20U;

    char path_[8192];
    std::unique_ptr<char[]> buffer_ = std::make_unique_for_overwrite<char[]>(bufferBytes);
    std::vector<std::unique_ptr<char[]>> blocks_;
    char* free_ = nullptr;
    std::size_t freeBytes_ = 0;
};

} // namespace floors
