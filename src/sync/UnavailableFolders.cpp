#include "sync/UnavailableFolders.h"

#include "platform/files/Paths.h"
#include "platform/json/JsonObject.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace veskline {

namespace {

constexpr const char* notMounted = "its volume is not mounted";

bool hasFileBelow(const platform::PathList& sortedFiles, std::string_view folder) {
    const std::string prefix = folder == "/" ? std::string("/") : std::string(folder) + "/";
    const std::size_t first = sortedFiles.lowerBound(prefix);
    return first < sortedFiles.size() && sortedFiles[first].starts_with(prefix);
}

bool hasRowBelow(const std::vector<FileStateRow>& rows, std::string_view folder) {
    return std::ranges::any_of(rows, [&](const FileStateRow& row) { return platform::isBelow(row.path, folder); });
}

} // namespace

FileSystemIdentities readFileSystemIdentities(std::string_view text) {
    FileSystemIdentities identities;
    const platform::Json document = platform::Json::parse(text, nullptr, false);
    if (document.is_object()) {
        for (const auto& [folder, identity] : document.items()) {
            if (identity.is_string()) {
                identities.emplace(folder, identity.get<std::string>());
            }
        }
    }
    return identities;
}

std::string writeFileSystemIdentities(const FileSystemIdentities& identities) {
    return platform::encodeCompact(platform::Json(identities));
}

UnavailableFolders::UnavailableFolders(std::string_view root, const FileEnumerationResult& found,
                                       const FileSystemIdentities& known, const std::vector<FileStateRow>& gone) {
    for (const UnavailableFolder& folder : found.unavailableFolders) {
        add(folder);
    }
    if (holding(root) != nullptr) {
        identities_ = known;
        return;
    }
    FileSystemIdentities current;
    for (const MountedFileSystem& fileSystem : found.fileSystems) {
        current[fileSystem.path] = fileSystem.identity;
        if (hasFileBelow(found.supportedFiles, fileSystem.path)) {
            identities_[fileSystem.path] = fileSystem.identity;
        }
    }
    for (const auto& [folder, identity] : known) {
        if (identities_.contains(folder) || !hasRowBelow(gone, folder)) {
            continue;
        }
        identities_[folder] = identity;
        if (const auto now = current.find(folder); now == current.end() || now->second != identity) {
            add(UnavailableFolder{folder, notMounted});
        }
    }
}

void UnavailableFolders::add(UnavailableFolder folder) {
    std::string path = folder.path;
    folders_.try_emplace(std::move(path), std::move(folder));
}

const UnavailableFolder* UnavailableFolders::holding(std::string_view path) const {
    const UnavailableFolder* outermost = nullptr;
    for (std::string_view folder = path; !folder.empty(); folder = platform::parentPath(folder)) {
        if (const auto found = folders_.find(folder); found != folders_.end()) {
            outermost = &found->second;
        }
    }
    return outermost;
}

} // namespace veskline
