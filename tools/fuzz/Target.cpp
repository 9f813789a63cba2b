#include "Target.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace veskline::fuzz {

void require(bool holds, std::string_view property) {
    if (!holds) {
        std::cerr << "A property is broken: " << property << '\n';
        std::abort();
    }
}

std::string_view takeLine(std::string_view& rest) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    return line;
}

} // namespace veskline::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    veskline::fuzz::check({reinterpret_cast<const char*>(data), size});
    return 0;
}
