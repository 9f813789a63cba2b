#include "endurance/Documents.h"

#include <fmt/format.h>

#include <fstream>
#include <utility>

namespace veskline::endurance {

namespace fs = std::filesystem;

namespace {

constexpr unsigned folders = 12;
constexpr std::size_t usualBytes = 4000;
constexpr std::size_t largeBytes = std::size_t{2} << 20U;

std::string folderName(unsigned number, bool isRenamed) {
    return fmt::format("{}{}", isRenamed ? "Done " : "Project ", number);
}

} // namespace

Documents::Documents(fs::path root, std::mt19937& random) : root_(std::move(root)), random_(random) {
    while (names_.size() < usual) {
        add();
    }
}

void Documents::change() {
    ++changes_;
    const auto kind = random_() % 100;
    if (kind < 2) {
        renameFolder();
    } else if (kind < 20 && names_.size() <= usual) {
        add();
    } else if (kind < 20) {
        const std::size_t chosen = any();
        fs::remove(root_ / names_[chosen]);
        names_.erase(names_.begin() + static_cast<std::ptrdiff_t>(chosen));
    } else {
        write(names_[any()]);
    }
}

void Documents::write(const std::string& name) {
    fs::create_directories((root_ / name).parent_path());
    std::ofstream file(root_ / name, std::ios::binary);
    const std::size_t bytes = random_() % 200 == 0 ? largeBytes : random_() % usualBytes;
    file << fmt::format("{} of {}\n", name, changes_) << std::string(bytes, static_cast<char>('a' + random_() % 26));
}

void Documents::add() {
    const std::string folder = folderName(static_cast<unsigned>(random_()) % folders, false);
    names_.push_back(fmt::format("{}/Minutes of meeting {}.md", folder, ++added_));
    write(names_.back());
}

void Documents::renameFolder() {
    const unsigned number = static_cast<unsigned>(random_()) % folders;
    const bool wasRenamed = fs::exists(root_ / folderName(number, true));
    const std::string from = folderName(number, wasRenamed);
    const std::string to = folderName(number, !wasRenamed);
    if (!fs::exists(root_ / from) || fs::exists(root_ / to)) {
        return;
    }
    fs::rename(root_ / from, root_ / to);
    for (std::string& name : names_) {
        if (name.starts_with(from + '/')) {
            name.replace(0, from.size(), to);
        }
    }
}

std::size_t Documents::any() {
    return random_() % names_.size();
}

} // namespace veskline::endurance
