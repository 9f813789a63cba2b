#pragma once

#include <string_view>

// A fuzz target is one source that says what must hold for every input; Target.cpp hands it those of libFuzzer. What
// ends the process is a finding: a fault in memory, an exception that gets out of check(), a property that is broken.

namespace veskline::fuzz {

// The target's own. `input` ends where its memory ends, so that reading past it is seen.
void check(std::string_view input);

// Ends the process where `holds` is false, with the property's words.
void require(bool holds, std::string_view property);

// The text up to the next line break, taken off `rest` together with that; all of it where there is none.
[[nodiscard]] std::string_view takeLine(std::string_view& rest);

} // namespace veskline::fuzz
