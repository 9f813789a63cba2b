#pragma once

#include "platform/files/FileStamp.h"
#include "platform/files/WholeFile.h"
#include "state/StorePlace.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace veskline {

// The file of a JSON store, with the older application's file of the same kind behind it, which is only ever read.
//
// Owned by a store and used on its executor alone. Making one removes what a crash left of a replacement.
class StoreFile {
public:
    struct Content {
        std::string bytes;
        bool isLegacy = false; // read from the older file: the store takes it over by writing it to its own
    };

    // Neither file is read, nor the own one written, beyond `mostBytes`.
    StoreFile(const StorePlace& place, std::optional<std::string> legacyPath, std::size_t mostBytes);

    // What the store's file holds; where that cannot be read, above all because there is none, what the older one
    // holds; absent where that cannot be read either. A file that is too large reads as an empty text, which is no
    // valid content: it hides the older one like any other.
    //
    // Throws platform::FileError for a failure that tells nothing of the content (no file descriptors left, a disk that
    // does not answer, a file that may not be read): to take such a file for a missing one could end in replacing it.
    [[nodiscard]] std::optional<Content> read() const;

    // Of the store's own file; absent where there is none.
    [[nodiscard]] std::optional<platform::FileStamp> stamp() const noexcept {
        return platform::FileStamp::of(url_.path());
    }

    // One atomic replacement, for this user alone. Throws platform::FileError, and the old file stays whole.
    void replace(std::string_view bytes) const;

    // Leaves nothing that read() would find: removes the file, or, where an older one would come to light, leaves an
    // empty one in its place. A failure is dropped.
    void clear() const;

private:
    [[nodiscard]] std::optional<std::string> readUnlessAbsent(const platform::WholeFile& file) const;

    platform::WholeFile url_;
    std::optional<platform::WholeFile> legacyURL_;
    std::size_t mostBytes_;
};

} // namespace veskline
