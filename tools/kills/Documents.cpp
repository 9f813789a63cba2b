#include "kills/Documents.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace kills {

namespace {

constexpr std::size_t fewestFiles = 20;
constexpr std::size_t mostFiles = 60;

// Names that give keys, queries and JSON something to do.
constexpr std::array<std::string_view, 10> stems{
    "plain",
    "Q3 Réport (final) #2, 100%?",
    "quoted \"'\\ name",
    "+&=;,",
    "line\nbreak",
    "日本語 文書",
    "e\u0301 combined",
    "UPPER lower",
    "a..b...c",
    "😀",
};
constexpr std::array<std::string_view, 5> folders{"", "sub/", "sub/Déep er/", "x & y/", "100%/"};
constexpr std::array<std::string_view, 4> endings{".txt", ".md", ".csv", ".TXT"};

template <std::size_t Size>
std::string_view oneOf(const std::array<std::string_view, Size>& texts, Random& random) {
    return texts[below(Size, random)];
}

} // namespace

Documents::Documents(std::filesystem::path root, Random& random) : root_(std::move(root)), random_(random) {
    for (std::size_t i = 0; i < fewestFiles; ++i) {
        write(names_.emplace_back(freshName()));
    }
}

std::string Documents::freshName() {
    return fmt::format("{}{} {}{}", oneOf(folders, random_), oneOf(stems, random_), written_, oneOf(endings, random_));
}

void Documents::write(const std::string& name) {
    const std::filesystem::path path = root_ / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << fmt::format("the content of number {}\n", written_++) << std::string(below(20'000, random_), '.');
    if (!file.flush()) {
        throw std::runtime_error("could not write " + path.string());
    }
}

void Documents::move(std::string& name) {
    const std::filesystem::path from = root_ / std::exchange(name, freshName());
    ++written_; // the next name is another one
    std::filesystem::create_directories((root_ / name).parent_path());
    std::filesystem::rename(from, root_ / name);
}

// What is touched lies at the front or the back of the turned list, so that no file is touched twice.
Documents::Change Documents::change() {
    std::ranges::rotate(names_, names_.begin() + static_cast<std::ptrdiff_t>(below(names_.size(), random_)));
    const std::size_t removed = 1 + below(names_.size() > mostFiles ? 12 : 5, random_);
    const std::size_t moved = below(3, random_) == 0 ? 1 : 0;
    const std::size_t changed = below(4, random_);
    const std::size_t fresh = fewestUploads + below(4, random_);
    for (std::size_t i = 0; i < removed; ++i) {
        std::filesystem::remove(root_ / names_.back());
        names_.pop_back();
    }
    for (std::size_t i = 0; i < moved; ++i) {
        move(names_[i]);
    }
    for (std::size_t i = 0; i < changed; ++i) {
        write(names_[moved + i]);
    }
    for (std::size_t i = 0; i < fresh; ++i) {
        write(names_.emplace_back(freshName()));
    }
    return {.uploads = moved + changed + fresh, .removals = removed + moved, .files = names_.size()};
}

} // namespace kills
