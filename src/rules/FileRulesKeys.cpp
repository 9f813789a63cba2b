#include "platform/files/FileDigest.h"
#include "platform/files/Paths.h"
#include "platform/text/Characters.h"
#include "platform/text/Folding.h"
#include "rules/FileRules.h"

#include <algorithm>
#include <span>

namespace veskline::FileRules {

namespace {

constexpr std::size_t hashBytes = 4;

std::string shortHash(std::string_view text) {
    const platform::Md5Digest digest = platform::md5Of(text);
    return platform::hexadecimal(std::span(digest).first(hashBytes));
}

// Letters and numbers of `name` with single hyphens between them, none at its ends.
std::string hyphenated(std::string_view name) {
    std::string result;
    bool isBetween = false;
    for (const std::string_view character : platform::characters(name)) {
        if (!platform::isLetterOrNumber(character)) {
            isBetween = true;
            continue;
        }
        if (isBetween && !result.empty()) {
            result += '-';
        }
        isBetween = false;
        result += character;
    }
    return result;
}

std::string stemOf(std::string_view base) {
    std::string stem = hyphenated(platform::folded(base, platform::currentCaseRules()));
    return stem.empty() ? "file" : stem;
}

} // namespace

std::string rootTag(std::string_view root) {
    return shortHash(platform::standardisedPath(root));
}

std::string logicalPath(std::string_view url, std::string_view root) {
    const std::string prefix = std::string(platform::withoutTrailingSlashes(root)) + '/';
    std::string result;
    for (std::size_t found = url.find(prefix); found != std::string_view::npos; found = url.find(prefix)) {
        result += url.substr(0, found);
        url.remove_prefix(found + prefix.size());
    }
    return result += url;
}

std::string buildStorageKey(std::string_view userID, std::string_view root, std::string_view logicalPath,
                            const std::optional<std::string>& rootID) {
    std::string key = "user-";
    key.append(userID).append("/root-").append(rootID ? *rootID : rootTag(root));
    return key.append("/").append(sanitizeRelativePath(logicalPath));
}

std::string legacyStorageKey(std::string_view userID, std::string_view logicalPath) {
    std::string key = "user-";
    return key.append(userID).append("/").append(sanitizeRelativePath(logicalPath));
}

std::string sanitizeRelativePath(std::string_view path) {
    std::string result;
    while (!path.empty()) {
        const std::string_view segment = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), segment.size() + 1));
        if (segment.empty()) {
            continue;
        }
        if (!result.empty()) {
            result += '/';
        }
        result += safeSegment(segment);
    }
    return result;
}

std::string safeSegment(std::string_view segment) {
    const std::string_view extension = platform::nameExtension(segment);
    const std::size_t dotAndExtension = extension.empty() ? 0 : extension.size() + 1;
    std::string result = stemOf(segment.substr(0, segment.size() - dotAndExtension));
    result.append("-").append(shortHash(segment));
    if (!extension.empty()) {
        result.append(".").append(extension);
    }
    return result;
}

} // namespace veskline::FileRules
