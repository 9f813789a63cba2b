#pragma once

#include <string>

namespace platform {

// The home folder of the user: $HOME where that is an absolute path, else as the system's list of users has it
// (getpwuid(3)). Empty where neither tells.
[[nodiscard]] std::string homeFolder();

} // namespace platform
