#pragma once

#include "runner/Interrupt.h"

#include <cstdint>
#include <string>

namespace bench {

// The folder that all data of a run lies in, removed at the end: below $TMPDIR where that is set, else in memory, below
// /dev/shm. Each of these gives the path of what it made, and throws std::system_error where it cannot be made.
class WorkFolder {
public:
    explicit WorkFolder(const Interrupt& interrupt);
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    // An empty folder, in place of one of that name.
    [[nodiscard]] std::string emptyFolder(const std::string& name) const;

    // Documents without content, 20 to a folder, in folders of three levels: nothing looks into them.
    [[nodiscard]] std::string tree(const std::string& name, std::int64_t files) const;

    // One folder of documents of `bytes`, no two alike.
    [[nodiscard]] std::string documents(const std::string& name, std::int64_t files, std::int64_t bytes) const;

    // So many folders, the given one among them, ten in each as far as they go, and one document in each.
    [[nodiscard]] std::string folders(const std::string& name, std::int64_t count) const;

    [[nodiscard]] std::string file(const std::string& name, std::int64_t bytes) const;

private:
    const Interrupt& interrupt_;
    std::string path_;
};

} // namespace bench
