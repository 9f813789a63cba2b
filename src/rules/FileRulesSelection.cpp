#include "platform/files/DirectoryWalk.h"
#include "platform/files/Paths.h"
#include "platform/text/Ascii.h"
#include "platform/text/Utf8.h"
#include "rules/FileRules.h"

#include <algorithm>
#include <utility>

namespace veskline::FileRules {

namespace {

struct ContentType {
    std::string_view extension;
    std::string_view mimeType;
};

constexpr std::array<ContentType, supportedExtensions.size()> contentTypes{{
    {"pdf", "application/pdf"},
    {"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    {"txt", "text/plain"},
    {"md", "text/plain"},
    {"csv", "text/csv"},
    {"epub", "application/epub+zip"},
    {"rtf", "application/rtf"},
}};

template <std::size_t Size>
bool contains(const std::array<std::string_view, Size>& table, std::string_view name) noexcept {
    return std::ranges::find(table, name) != table.end();
}

// No suffix holds a second dot, so it is all of the name from its last dot on.
bool hasExcludedSuffix(std::string_view name) noexcept {
    const std::size_t dot = name.rfind('.');
    return dot != std::string_view::npos && std::ranges::any_of(excludedSuffixes, [&](std::string_view suffix) {
               return platform::equalsInAnyCase(name.substr(dot), suffix);
           });
}

bool hasExcludedName(std::string_view name) noexcept {
    return contains(excludedNames, name) || hasExcludedSuffix(name);
}

bool hasSupportedExtension(std::string_view name) noexcept {
    const std::string_view extension = platform::nameExtension(name);
    return std::ranges::any_of(supportedExtensions, [&](std::string_view supported) {
        return platform::equalsInAnyCase(extension, supported);
    });
}

std::string_view below(std::string_view url, std::string_view root) noexcept {
    root = platform::withoutTrailingSlashes(root);
    if (url == root) {
        return {};
    }
    return platform::isBelow(url, root) ? url.substr(root.size()) : url;
}

// The walk asks for each name on the way down, so a folder that is excluded is met at the folder.
bool isWanted(std::string_view name) noexcept {
    return !name.starts_with('.') && !contains(excludedFolderNames, name) && !hasExcludedName(name);
}

platform::DirectoryWalk::Visitor sortInto(FileEnumerationResult& result) {
    return {
        .wants = isWanted,
        .file =
            [&result](std::string_view path, std::string_view name) {
                const bool isOurs = hasSupportedExtension(name) && platform::isValidUtf8(path);
                (isOurs ? result.supportedFiles : result.unsupportedFiles).add(path);
            },
    };
}

} // namespace

FileEnumerationResult enumerateFiles(const std::string& root, const std::atomic<bool>* stop, async::Executor helper) {
    namespace DirectoryWalk = platform::DirectoryWalk;
    FileEnumerationResult result;
    FileEnumerationResult helpers;
    DirectoryWalk::Outcome outcome =
        DirectoryWalk::run(root, sortInto(result), stop, DirectoryWalk::Calls::kernel(), {helper, sortInto(helpers)});
    result.supportedFiles.append(helpers.supportedFiles);
    result.unsupportedFiles.append(helpers.unsupportedFiles);
    for (auto& [path, reason] : outcome.failures) {
        result.unavailableFolders.push_back({.path = std::move(path), .reason = std::move(reason)});
    }
    for (auto& [path, identity] : outcome.fileSystems) {
        result.fileSystems.push_back({.path = std::move(path), .identity = std::move(identity)});
    }
    return result;
}

platform::PathList listFiles(const std::string& root) {
    return enumerateFiles(root).supportedFiles;
}

bool shouldSkip(std::string_view url, std::string_view root) {
    for (std::string_view rest = below(url, root); !rest.empty();) {
        const std::string_view component = rest.substr(0, rest.find('/'));
        if (contains(excludedFolderNames, component)) {
            return true;
        }
        rest.remove_prefix(std::min(rest.size(), component.size() + 1));
    }
    return !below(url, root).empty() && hasExcludedName(platform::lastComponent(url));
}

bool isSupported(std::string_view url) {
    return hasSupportedExtension(platform::lastComponent(url));
}

std::string mimeType(std::string_view url) {
    const std::string_view extension = platform::pathExtension(url);
    for (const ContentType& type : contentTypes) {
        if (platform::equalsInAnyCase(extension, type.extension)) {
            return std::string(type.mimeType);
        }
    }
    return "application/octet-stream";
}

} // namespace veskline::FileRules
