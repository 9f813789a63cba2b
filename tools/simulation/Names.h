#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace veskline::simulation {

// What the selection makes of a name.
enum class Fate : std::uint8_t { document, unsupported, dropped };

// A name that a run may use, with what the rules say of it, written down by hand: the stem is what its key begins with.
struct Name {
    std::string_view text;
    Fate fate;
    std::string_view stem = {};
};

inline constexpr std::array<Name, 17> fileNames{{
    {"notes.txt", Fate::document, "notes"},
    {"Notes.txt", Fate::document, "notes"},
    {"Report.PDF", Fate::document, "report"},
    {"re\u0301sume\u0301.md", Fate::document, "resume"},
    {"日本語.md", Fate::document, "日本語"},
    {"it's \"quoted\".txt", Fate::document, "it-s-quoted"},
    {"100% #1.csv", Fate::document, "100-1"},
    {"line\nbreak.txt", Fate::document, "line-break"},
    {"plan?a=b&c+d.docx", Fate::document, "plan-a-b-c-d"},
    {"(((.rtf", Fate::document, "file"},
    {"archive.tar.epub", Fate::document, "archive-tar"},
    {"archive.zip", Fate::unsupported},
    {"README", Fate::unsupported},
    {"no text \xff.txt", Fate::unsupported},
    {"debug.LOG", Fate::dropped},
    {".hidden.txt", Fate::dropped},
    {"Music", Fate::dropped},
}};

// The first is the root itself.
inline constexpr std::array<Name, 7> folderNames{{
    {"", Fate::document},
    {"Client Notes", Fate::document, "client-notes"},
    {"Re\u0301union 2024.old", Fate::document, "reunion-2024"},
    {"資料 #2", Fate::document, "資料-2"},
    {"node_modules", Fate::dropped},
    {"Old.PhotosLibrary", Fate::dropped},
    {".private", Fate::dropped},
}};

// A file that a script speaks of by one number: its root, its folder there, its name.
struct Place {
    std::size_t root;
    std::size_t folder;
    std::size_t name;

    static constexpr std::size_t count = 2 * folderNames.size() * fileNames.size();
    static constexpr Place ofNumber(std::size_t number) noexcept {
        return {number % 2, number / 2 % folderNames.size(), number / 2 / folderNames.size() % fileNames.size()};
    }
    [[nodiscard]] constexpr std::uint32_t number() const noexcept {
        return static_cast<std::uint32_t>(root + 2 * (folder + folderNames.size() * name));
    }
};

} // namespace veskline::simulation
