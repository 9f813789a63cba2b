#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace veskline::simulation {

// What the rules make of the files on a disk, worked out anew from their words: nothing here calls what it judges.
class Oracle {
public:
    struct Document {
        std::string path;
        std::string root;
        std::string logicalPath;
    };
    // One look at one root.
    struct Listing {
        std::map<std::string, Document, std::less<>> documents; // by path
        std::vector<std::string> unavailable;                   // folders that could not be listed

        // Whether a file was there, or may have been.
        [[nodiscard]] bool mayHold(std::string_view path) const;
    };

    [[nodiscard]] static Listing list(const std::string& root);
    [[nodiscard]] static std::string contentOf(const std::string& path);

    [[nodiscard]] static std::string rootTag(std::string_view root);
    [[nodiscard]] static std::string storageKey(std::string_view userID, const Document& document);
    [[nodiscard]] static std::string mimeType(std::string_view path);
    [[nodiscard]] static std::string sha256(std::string_view content);
};

} // namespace veskline::simulation
