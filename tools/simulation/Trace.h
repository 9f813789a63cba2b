#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace veskline::simulation {

// What happened in one run, line by line, and the one number that stands for all of it: two runs of one script give the
// same. What differs from run to run by its nature, the place of the folder above all, is told by a name of its own.
class Trace {
public:
    enum class Keeps : std::uint8_t { hashAlone, everyLine };

    explicit Trace(Keeps keeps) : keeps_(keeps) {}

    // Every `text` reads as `name` from here on. The longest first, where one holds another.
    void name(std::string text, std::string name) { names_.emplace_back(std::move(text), std::move(name)); }

    void add(std::string_view line) {
        std::string told(line);
        for (const auto& [text, name] : names_) {
            for (std::size_t at = told.find(text); at != std::string::npos; at = told.find(text, at + name.size())) {
                told.replace(at, text.size(), name);
            }
        }
        told += '\n';
        for (const char byte : told) { // FNV-1a
            hash_ = (hash_ ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
        }
        if (keeps_ == Keeps::everyLine) {
            text_ += told;
        }
    }

    [[nodiscard]] std::uint64_t hash() const noexcept { return hash_; }
    [[nodiscard]] const std::string& text() const noexcept { return text_; }

private:
    Keeps keeps_;
    std::vector<std::pair<std::string, std::string>> names_;
    std::uint64_t hash_ = 0xcbf29ce484222325U;
    std::string text_;
};

} // namespace veskline::simulation
