#pragma once

#include <cstdint>
#include <string>

namespace veskline {

// What the last scan that worked on a local file left: a row of the state database's `files` table. A file over the
// size limit has one too, so that a scan knows of it.
struct FileStateRow {
    std::string path;        // absolute; the row's identity
    std::string rootPath;    // absolute path of the synced folder that the file was found under
    std::string logicalPath; // path below that folder
    std::string storageKey;  // object key in the storage bucket; empty for a file that never went up
    std::string sha256;      // of the content, lowercase hexadecimal; a marker in its place for a file over the limit
    std::int64_t bytes = 0;
    double mtimeMilliseconds = 0; // since 1970-01-01 UTC, with its fraction: never rounded

    friend bool operator==(const FileStateRow&, const FileStateRow&) = default;
};

} // namespace veskline
