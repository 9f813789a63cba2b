#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

// A small file that is read and replaced as a whole, such as a document of settings.
//
// A replacement is atomic and private: the content goes to a file beside it with a fixed hidden name (".a.json.tmp"
// for "a.json") and mode 0600, is synced to the disk, and takes the place in one rename (rename(2)). So any reader, and
// the next start after a crash, finds the old content or the new one, whole. The name is fixed so that a crash leaves
// at most one such file behind; there must be one writer at a time.
//
// A file in a folder where others may create files, /tmp above all, is opened with Owner::thisUser: then the file is
// only ever read or replaced where it is a regular file of this user alone (FileOwnership.h). What another user put
// there, a link or a file, is neither read nor written through.
//
// Holds no open file. The operations block on the disk.
class WholeFile {
public:
    enum class Owner { anyone, thisUser };

    // Files larger than this are refused, unless the reader names a bound of its own.
    static constexpr std::size_t mostBytes = std::size_t{64} << 20U;

    explicit WholeFile(std::string path, Owner owner = Owner::anyone);

    [[nodiscard]] const std::string& path() const noexcept { return path_; }

    // The whole content. Throws FileError: with the system's code where the file is missing or cannot be read, and
    // with std::errc::file_too_large where it holds more than `most` bytes.
    [[nodiscard]] std::string read(std::size_t most = mostBytes) const;

    // Replaces the content, or creates the file; the folder must exist. Throws FileError, and the old file is whole and
    // nothing lies beside it.
    void replace(std::string_view content) const;

    // Removes the file, and a leftover beside it. Throws FileError, also where there is no file.
    void remove() const;

    // Removes what a crash in the middle of a replacement left behind. For the start of whoever owns the file.
    void removeLeftover() const noexcept;

private:
    [[nodiscard]] std::string temporaryPath() const;

    std::string path_;
    Owner owner_;
};

} // namespace platform
