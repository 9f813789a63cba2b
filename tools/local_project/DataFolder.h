#pragma once

#include <filesystem>

namespace local_project {

// The --data folder, held for one project at a time by a lock that the kernel drops when its holder ends, however it
// ends (flock(2)).
class DataFolder {
public:
    // Makes the folder where it is missing, for its owner alone. Throws std::runtime_error where it cannot be made or
    // another project holds it.
    explicit DataFolder(std::filesystem::path folder);
    ~DataFolder();
    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;

    [[nodiscard]] std::filesystem::path database() const { return folder_ / "project.sqlite"; }
    [[nodiscard]] std::filesystem::path objects() const { return folder_ / "objects"; }

private:
    std::filesystem::path folder_;
    int lock_ = -1;
};

} // namespace local_project
