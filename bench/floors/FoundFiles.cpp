#include "floors/FoundFiles.h"

#include "floors/Floors.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace floors {

namespace {

constexpr std::array<std::string_view, 7> extensions{"pdf", "docx", "txt", "md", "csv", "rtf", "epub"};

bool isDocument(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot != std::string_view::npos && std::ranges::any_of(extensions, [&](std::string_view extension) {
               return name.size() - dot - 1 == extension.size() &&
                      strncasecmp(&name[dot + 1], extension.data(), extension.size()) == 0;
           });
}

} // namespace

FoundFiles::FoundFiles(const std::string& root) {
    std::memcpy(path_, root.c_str(), root.size() + 1);
    walk(AT_FDCWD, path_, root.size());
}

// A folder is listed whole before the first below it is entered, so one buffer serves all.
void FoundFiles::walk(int parent, const char* name, std::size_t pathLength) {
    const int folder = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0) {
        return;
    }
    path_[pathLength] = '/';
    std::string below;
    for (ssize_t count = 0; (count = getdents64(folder, buffer_.get(), bufferBytes)) > 0;) {
        for (char* at = buffer_.get(); at < buffer_.get() + count;) {
            const auto* entry = reinterpret_cast<const dirent64*>(at);
            at += entry->d_reclen;
            if (entry->d_name[0] == '.') {
                continue;
            }
            const std::string_view found(entry->d_name);
            if (entry->d_type == DT_DIR) {
                below.append(found).push_back('\0');
            } else if (entry->d_type == DT_REG && isDocument(found)) {
                add(found, pathLength + 1);
            }
        }
    }
    for (std::size_t at = 0; at < below.size();) {
        const std::string_view next(&below[at]);
        std::memcpy(path_ + pathLength + 1, next.data(), next.size() + 1);
        walk(folder, next.data(), pathLength + 1 + next.size());
        at += next.size() + 1;
    }
    close(folder);
}

void FoundFiles::add(std::string_view name, std::size_t pathLength) {
    const std::size_t length = pathLength + name.size();
    if (freeBytes_ <= length) {
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(blockBytes));
        free_ = blocks_.back().get();
        freeBytes_ = blockBytes;
    }
    files.push_back({.path = free_, .length = length});
    free_ = std::copy_n(path_, pathLength, free_);
    free_ = std::copy_n(name.data(), name.size() + 1, free_);
    freeBytes_ -= length + 1;
}

bench::Sample walk(Arguments arguments) {
    const bench::Stopwatch stopwatch;
    const FoundFiles found(arguments[0]);
    return stopwatch.stop(static_cast<std::int64_t>(found.files.size()));
}

} // namespace floors
