#include "simulation/Tree.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <system_error>

namespace veskline::simulation {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t aSecond = 1'000'000'000;

std::vector<std::string> namesOfRoots(Layout layout) {
    switch (layout) {
    case Layout::one:
        return {"docs"};
    case Layout::two:
        return {"docs", "papers"};
    case Layout::namePrefix:
        return {"docs", "docs 2"};
    case Layout::nested:
        break;
    }
    return {"docs", "docs/Client Notes"};
}

std::string contentOf(std::uint32_t number, std::size_t length) {
    const std::string piece = fmt::format("content {} ", number);
    std::string content;
    while (content.size() < length) {
        content += piece;
    }
    content.resize(length);
    return content;
}

void setTime(const fs::path& file, std::int64_t nanoseconds) {
    const timespec time{.tv_sec = nanoseconds / aSecond, .tv_nsec = nanoseconds % aSecond};
    const std::array<timespec, 2> times{time, time};
    (void)::utimensat(AT_FDCWD, file.c_str(), times.data(), 0);
}

std::string readAll(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

bool isFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

} // namespace

std::int64_t modificationTime(const std::string& file) {
    struct stat found{};
    return ::stat(file.c_str(), &found) == 0 ? found.st_mtim.tv_sec * aSecond + found.st_mtim.tv_nsec : 0;
}

Tree::Tree(const TemporaryFolder& folder, Layout layout) : away_(folder.makeFolder("away")) {
    for (const std::string& name : namesOfRoots(layout)) {
        roots_.push_back(folder.makeFolder(name));
    }
}

void Tree::apply(const Operation& operation) {
    const auto& [first, second, third] = operation.numbers;
    const Place place = Place::ofNumber(first);
    switch (operation.action) {
    case Action::write:
        return write(fileOf(place), contentOf(second, third));
    case Action::append:
        return write(fileOf(place), readAll(fileOf(place)) + contentOf(second, third));
    case Action::rewriteUnseen:
        return rewriteUnseen(fileOf(place), second);
    case Action::touch:
        return isFile(fileOf(place)) ? setTime(fileOf(place), lastTime_ += aSecond + 12'345) : void();
    case Action::moveFile:
        return moveFile(fileOf(place), fileOf(Place::ofNumber(second)));
    case Action::removeFile: {
        std::error_code ignored;
        return isFile(fileOf(place)) ? void(fs::remove(fileOf(place), ignored)) : void();
    }
    case Action::moveFolder:
        return moveFolder(place, Place::ofNumber(second));
    case Action::removeFolder: {
        std::error_code ignored;
        return place.folder != 0 && place.folder != 1 ? void(fs::remove_all(folderOf(place), ignored)) : void();
    }
    case Action::closeFile:
        return isFile(fileOf(place)) ? close(fileOf(place)) : void();
    case Action::closeFolder:
        return close(folderOf(place));
    case Action::openAll:
        return openAll();
    case Action::moveRootAway:
        return moveRootAway(first);
    case Action::moveRootsBack:
        return moveRootsBack();
    default:
        return;
    }
}

void Tree::comeToRest() {
    openAll();
    moveRootsBack();
    openAll();
}

fs::path Tree::folderOf(const Place& place) const {
    return fs::path(roots_[place.root % roots_.size()]) / folderNames.at(place.folder).text;
}

fs::path Tree::fileOf(const Place& place) const {
    return folderOf(place) / fileNames.at(place.name).text;
}

void Tree::write(const fs::path& file, const std::string& content) {
    std::error_code error;
    const fs::path folder = file.parent_path();
    const bool isRootThere = std::ranges::any_of(roots_, [&](const std::string& root) {
        std::error_code ignored;
        return (folder == root || folder.parent_path() == root) && fs::is_directory(root, ignored);
    });
    if (!isRootThere || (!fs::is_directory(folder, error) && !fs::create_directory(folder, error))) {
        return;
    }
    if (std::ofstream out(file, std::ios::binary | std::ios::trunc); out) {
        out << content;
        out.close();
        setTime(file, lastTime_ += aSecond + 12'345);
    }
}

void Tree::rewriteUnseen(const fs::path& file, std::uint32_t content) {
    const std::int64_t time = modificationTime(file.string());
    if (isFile(file) && time != 0) {
        write(file, contentOf(content, readAll(file).size()));
        setTime(file, time);
        unseen_.insert(time);
    }
}

void Tree::moveFile(const fs::path& from, const fs::path& to) {
    std::error_code ignored;
    if (isFile(from) && fs::is_directory(to.parent_path(), ignored)) {
        fs::rename(from, to, ignored);
    }
}

// The folder that is itself a root when roots are nested stays where it is.
void Tree::moveFolder(const Place& from, const Place& to) {
    std::error_code ignored;
    if (from.folder > 1 && to.folder > 1) {
        fs::rename(folderOf(from), folderOf(to), ignored);
    }
}

void Tree::close(const fs::path& path) {
    std::error_code error;
    fs::permissions(path, fs::perms::none, error);
    if (!error) {
        closed_.push_back(path);
    }
}

// What was moved while it was closed is found where it went.
void Tree::openAll() {
    std::error_code ignored;
    for (const fs::path& path : closed_) {
        fs::permissions(path, fs::perms::owner_all, ignored);
    }
    closed_.clear();
    const auto open = [&](const fs::path& folder) {
        for (const auto& entry : fs::recursive_directory_iterator(folder, ignored)) {
            fs::permissions(entry.path(), fs::perms::owner_all, ignored);
        }
    };
    open(away_);
    std::ranges::for_each(roots_, open);
}

void Tree::moveRootAway(std::size_t root) {
    std::error_code error;
    root %= roots_.size();
    fs::rename(roots_[root], fs::path(away_) / std::to_string(root), error);
    if (!error) {
        rootsAway_.push_back(root);
    }
}

// The last that went comes first, since one may lie in the other. One whose place may not be entered has to wait.
void Tree::moveRootsBack() {
    std::error_code error;
    for (; !rootsAway_.empty(); rootsAway_.pop_back()) {
        const std::size_t root = rootsAway_.back();
        fs::rename(fs::path(away_) / std::to_string(root), roots_[root], error);
        if (error) {
            return;
        }
    }
}

} // namespace veskline::simulation
