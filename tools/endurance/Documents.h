#pragma once

#include <cstddef>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace veskline::endurance {

// A user's documents in folders below one root, and what a user does to them over a day. Their number stays near
// `usual`.
class Documents {
public:
    static constexpr std::size_t usual = 300;

    Documents(std::filesystem::path root, std::mt19937& random);

    // One change, small or large: a document is written anew, added or thrown away, or a folder is renamed.
    void change();

    [[nodiscard]] const std::filesystem::path& root() const noexcept { return root_; }
    [[nodiscard]] std::size_t count() const noexcept { return names_.size(); }
    [[nodiscard]] std::size_t changes() const noexcept { return changes_; }

private:
    void write(const std::string& name);
    void add();
    void renameFolder();
    [[nodiscard]] std::size_t any();

    const std::filesystem::path root_;
    std::mt19937& random_;
    std::vector<std::string> names_;
    std::size_t added_ = 0;
    std::size_t changes_ = 0;
};

} // namespace veskline::endurance
