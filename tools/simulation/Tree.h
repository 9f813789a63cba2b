#pragma once

#include "simulation/Names.h"
#include "simulation/Operation.h"
#include "simulation/Script.h"
#include "support/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace veskline::simulation {

// The user's folders, and what the user does there. What cannot be done at the moment, because a folder is away or may
// not be entered, is left undone. No two writes give a file the same time, but for those that mean to.
class Tree {
public:
    Tree(const TemporaryFolder& folder, Layout layout);

    [[nodiscard]] const std::vector<std::string>& roots() const noexcept { return roots_; }

    void apply(const Operation& operation);
    // All folders in their places and readable.
    void comeToRest();

    // Times of modification at which a file has had more than one content.
    [[nodiscard]] bool wasRewrittenUnseen(std::int64_t nanoseconds) const { return unseen_.contains(nanoseconds); }

private:
    [[nodiscard]] std::filesystem::path folderOf(const Place& place) const;
    [[nodiscard]] std::filesystem::path fileOf(const Place& place) const;
    void write(const std::filesystem::path& file, const std::string& content);
    void rewriteUnseen(const std::filesystem::path& file, std::uint32_t content);
    void moveFile(const std::filesystem::path& from, const std::filesystem::path& to);
    void moveFolder(const Place& from, const Place& to);
    void close(const std::filesystem::path& path);
    void openAll();
    void moveRootAway(std::size_t root);
    void moveRootsBack();

    std::string away_;
    std::vector<std::string> roots_;
    std::vector<std::filesystem::path> closed_;
    std::vector<std::size_t> rootsAway_; // in the order that they went
    std::set<std::int64_t> unseen_;
    std::int64_t lastTime_ = 1'600'000'000'000'000'000;
};

// The time of modification in nanoseconds since 1970; 0 where there is no such file.
[[nodiscard]] std::int64_t modificationTime(const std::string& file);

} // namespace veskline::simulation
