#include "platform/files/HomeFolder.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace platform {

std::string homeFolder() {
    if (const char* const home = std::getenv("HOME"); home != nullptr && home[0] == '/') {
        return home;
    }
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> texts{};
    ::getpwuid_r(::geteuid(), &entry, texts.data(), texts.size(), &found);
    return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : "";
}

} // namespace platform
