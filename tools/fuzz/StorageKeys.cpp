#include "Target.h"
#include "platform/files/Paths.h"
#include "platform/text/Characters.h"
#include "platform/text/Utf8.h"
#include "rules/FileRules.h"

#include <algorithm>
#include <string>
#include <vector>

namespace veskline::fuzz {

namespace {

constexpr std::size_t hashSize = 8;

bool isHash(std::string_view text) {
    return text.size() == hashSize && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

std::vector<std::string> pieces(std::string_view path) {
    std::vector<std::string> found;
    while (!path.empty()) {
        const std::string_view piece = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), piece.size() + 1));
        if (!piece.empty()) {
            found.emplace_back(piece);
        }
    }
    return found;
}

void requireStem(const std::string& stem) {
    require(!stem.empty() && stem.front() != '-' && stem.back() != '-' && !stem.contains("--"),
            "hyphens stand single between letters and numbers");
    for (const std::string_view character : platform::characters(stem)) {
        require(character == "-" || platform::isLetterOrNumber(character), "a stem is letters, numbers and hyphens");
    }
    require(platform::isValidUtf8(stem), "a stem is text");
    const std::string again = FileRules::safeSegment(stem);
    require(again.starts_with(stem + "-") && isHash(std::string_view(again).substr(stem.size() + 1)),
            "a stem that is cleaned again stays as it is");
}

void requireSegment(const std::string& key, const std::string& segment) {
    std::string_view rest = key;
    if (const std::string_view extension = platform::nameExtension(segment); !extension.empty()) {
        require(rest.ends_with("." + std::string(extension)), "the extension stands as it is");
        rest.remove_suffix(extension.size() + 1);
    }
    require(rest.size() > hashSize + 1 && isHash(rest.substr(rest.size() - hashSize)), "a hash ends the name");
    require(rest[rest.size() - hashSize - 1] == '-', "a hyphen stands before the hash");
    requireStem(std::string(rest.substr(0, rest.size() - hashSize - 1)));
}

} // namespace

// The root below "/" in a line, and the path of a file below it.
void check(std::string_view input) {
    const std::string root = "/" + std::string(takeLine(input));
    const std::string path(input);
    const std::string cleaned = FileRules::sanitizeRelativePath(path);
    const std::vector<std::string> segments = pieces(path);
    const std::vector<std::string> keys = pieces(cleaned);
    require(keys.size() == segments.size() && std::ranges::count(cleaned, '/') + 1 >= std::ssize(keys),
            "each segment has its own");
    for (std::size_t at = 0; at < keys.size(); ++at) {
        requireSegment(keys[at], segments[at]);
    }
    require(!platform::isValidUtf8(path) || platform::isValidUtf8(cleaned), "what is text stays text");
    require(FileRules::sanitizeRelativePath("//" + path + "/") == cleaned, "slashes around a path count for nothing");

    const std::string key = FileRules::buildStorageKey("ann", root, path);
    const std::string tag = FileRules::rootTag(root);
    require(isHash(tag) && key == "user-ann/root-" + tag + "/" + cleaned, "a key is user, tag and path");
    require(FileRules::rootTag(root + "/./") == tag, "a folder has one tag however it is spelled");
    require(FileRules::legacyStorageKey("ann", path) == "user-ann/" + cleaned, "the older key has no tag");

    const std::string prefix = std::string(platform::withoutTrailingSlashes(root)) + "/";
    if (!path.contains(prefix) && root.find_first_not_of('/') != std::string::npos) {
        require(FileRules::logicalPath(prefix + path, root) == path, "a file's path below its root is found again");
    }
}

} // namespace veskline::fuzz
