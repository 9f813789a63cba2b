#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace veskline::simulation {

// What the checks of one run, or of many, have to say.
class Findings {
public:
    using Counts = std::map<std::string, std::size_t, std::less<>>;

    // A promise that was not kept, by its name.
    void violate(std::string_view promise, std::string_view words) {
        violations.push_back(std::string(promise) + ": " + std::string(words));
    }
    // Something that the rules allow, recognised as such.
    void allow(const std::string& kind) { ++allowed[kind]; }

    // Promises by name, without what it was about: what a shorter script has to break as well.
    [[nodiscard]] bool breaks(std::string_view promise) const {
        for (const std::string& violation : violations) {
            if (violation.starts_with(promise)) {
                return true;
            }
        }
        return false;
    }

    std::vector<std::string> violations;
    Counts allowed;
    Counts faults; // that were put in the way, by kind
};

} // namespace veskline::simulation
