#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace kills {

using Random = std::mt19937_64;

// A whole number below `end`. One modulo: the same everywhere, which the library's distributions are not.
inline std::uint64_t below(std::uint64_t end, Random& random) {
    return random() % end;
}

// The folder of documents as its user leaves it between two rounds: each time some files come, change, move and go.
// No two contents are ever the same, so that whatever was lost can be told.
class Documents {
public:
    struct Change {
        std::size_t uploads = 0;  // files that are new or changed; at least `fewestUploads`
        std::size_t removals = 0; // files that are gone or lie elsewhere; at least one
        std::size_t files = 0;    // that are there
    };
    static constexpr std::size_t fewestUploads = 3;

    Documents(std::filesystem::path root, Random& random);

    Change change();

private:
    [[nodiscard]] std::string freshName();
    void write(const std::string& name);
    void move(std::string& name);

    std::filesystem::path root_;
    Random& random_;
    std::vector<std::string> names_;
    std::uint64_t written_ = 0;
};

} // namespace kills
