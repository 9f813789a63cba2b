#pragma once

#include "rules/FileRules.h"
#include "state/records/FileStateRow.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace veskline {

// Which file system each folder of interest lies on: the root and the mount points below it, by path.
using FileSystemIdentities = std::map<std::string, std::string, std::less<>>;

// Their form in the preferences: a JSON object. A text that is none reads as empty.
[[nodiscard]] FileSystemIdentities readFileSystemIdentities(std::string_view text);
[[nodiscard]] std::string writeFileSystemIdentities(const FileSystemIdentities& identities);

// The folders of one root whose files a scan could not see, although they may well exist. No row below them is ever
// taken for a deleted file.
//
// That is every folder whose listing failed, and every one that shows no file and lies on another file system than
// when its rows were written: a volume that is not mounted leaves an empty folder behind, or none.
class UnavailableFolders {
public:
    // `known` is what an earlier scan of this root remembered, `gone` the rows whose files were not found. The list of
    // files found is sorted.
    UnavailableFolders(std::string_view root, const FileEnumerationResult& found, const FileSystemIdentities& known,
                       const std::vector<FileStateRow>& gone);

    using Folders = std::map<std::string, UnavailableFolder, std::less<>>;

    // All of them, sorted by path.
    [[nodiscard]] const Folders& folders() const noexcept { return folders_; }

    // The outermost of these folders that `path` lies in, or none.
    [[nodiscard]] const UnavailableFolder* holding(std::string_view path) const;

    // What the next scan has to know: the file systems that hold files or still have rows, and no others.
    [[nodiscard]] const FileSystemIdentities& identities() const noexcept { return identities_; }

private:
    void add(UnavailableFolder folder);

    Folders folders_;
    FileSystemIdentities identities_;
};

} // namespace veskline
