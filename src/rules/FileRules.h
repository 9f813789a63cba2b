#pragma once

#include "platform/async/Executor.h"
#include "platform/files/PathList.h"

#include <array>
#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace veskline {

// A folder whose files a walk could not see, or not all of them. `reason` completes a sentence about it.
struct UnavailableFolder {
    std::string path;
    std::string reason;
    bool operator==(const UnavailableFolder&) const = default;
};

// Where a file system begins, the root included, with a text that tells one file system from another.
struct MountedFileSystem {
    std::string path;
    std::string identity;
    bool operator==(const MountedFileSystem&) const = default;
};

// What one walk through a root found. Paths stand in the order of the walk, those that a second thread found after the
// others.
struct FileEnumerationResult {
    platform::PathList supportedFiles;
    platform::PathList unsupportedFiles;
    // Nothing that lies in one of these may be taken for deleted. The root itself stands here when it is missing,
    // unreadable or no folder, or when the walk was broken off.
    std::vector<UnavailableFolder> unavailableFolders;
    std::vector<MountedFileSystem> fileSystems; // the root's first
};

// Which files of a synced folder concern the agent, the key that each is stored under, and the digest of its content.
//
// Pure functions and constant tables; any thread. A url is an absolute path, as the platform has no other local ones;
// a root may carry slashes at its end.
namespace FileRules {

// Without the dot, in lower case.
inline constexpr std::array<std::string_view, 7> supportedExtensions{"pdf", "docx", "txt", "md", "csv", "rtf", "epub"};
// Dropped with all that lies in them, anywhere below the root; a plain file of such a name too.
inline constexpr std::array<std::string_view, 12> excludedFolderNames{"node_modules", ".git",
                                                                      ".Trash",       "Library",
                                                                      ".cache",       ".npm",
                                                                      ".vscode",      "Applications",
                                                                      "System",       "Photos Library.photoslibrary",
                                                                      "Music",        "Photo Booth Library"};
// Of files and folders, in any case. Each begins with the only dot in it.
inline constexpr std::array<std::string_view, 12> excludedSuffixes{
    ".tmp",    ".part", ".log",  ".crdownload",    ".swp",          ".sock",
    ".socket", ".pid",  ".lock", ".photoslibrary", ".musiclibrary", ".itl"};
inline constexpr std::array<std::string_view, 2> excludedNames{".DS_Store", ".localized"};

// --- Selection ---

// Walks `root` and sorts its regular files. Hidden entries (a leading dot) and what shouldSkip tells are left out with
// all below them, links are not followed, no folder is a package. A path that is no valid UTF-8 can be neither stored
// nor sent, so it counts as unsupported. Reads no file; blocks the caller for the length of the walk; does not fail
// for what lies on the disk. Once `*stop` is true it returns at the next folder. A thread of `helper` lists part of the
// folders, where it has one to spare.
[[nodiscard]] FileEnumerationResult enumerateFiles(const std::string& root, const std::atomic<bool>* stop = nullptr,
                                                   async::Executor helper = {});
[[nodiscard]] platform::PathList listFiles(const std::string& root);

// Whether the selection drops `url`. Only the components below the root count, so a root may itself lie in a "Library".
[[nodiscard]] bool shouldSkip(std::string_view url, std::string_view root);
[[nodiscard]] bool isSupported(std::string_view url);
// The content type by the extension; "application/octet-stream" for one that is not supported.
[[nodiscard]] std::string mimeType(std::string_view url);

// --- Keys ---

// What goes into a key is hashed with MD5: all of these but logicalPath may throw platform::DigestError, where the
// system refuses it, as a FIPS configuration does.

// 8 hexadecimal digits that stand for the folder, alike for "/a/b", "/a/./b" and "/a/b/".
[[nodiscard]] std::string rootTag(std::string_view root);
// The path with every occurrence of the root's path and a slash cut out; the whole path under the root "/".
[[nodiscard]] std::string logicalPath(std::string_view url, std::string_view root);
// "user-<user>/root-<tag>/<path>". The tag is `rootID` where one is given.
[[nodiscard]] std::string buildStorageKey(std::string_view userID, std::string_view root, std::string_view logicalPath,
                                          const std::optional<std::string>& rootID = std::nullopt);
// "user-<user>/<path>", the older form, which cannot tell two folders apart.
[[nodiscard]] std::string legacyStorageKey(std::string_view userID, std::string_view logicalPath);
[[nodiscard]] std::string sanitizeRelativePath(std::string_view path);
// "<stem>-<hash>.<extension>" for one segment of a path: the name as letters, numbers and hyphens under the current
// locale, 8 hexadecimal digits that tell apart what became alike, and the extension as it stands.
[[nodiscard]] std::string safeSegment(std::string_view segment);

// --- Digest ---

// SHA-256 of the file's content as 64 hexadecimal digits. Throws platform::FileError for a file that cannot be opened
// or read to its end, and once `*stop` is true; platform::DigestError where the system refuses the algorithm.
[[nodiscard]] std::string sha256Hex(const std::string& url, const std::atomic<bool>* stop = nullptr);

} // namespace FileRules

} // namespace veskline
