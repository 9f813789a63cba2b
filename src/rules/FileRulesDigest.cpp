#include "platform/files/FileDigest.h"
#include "rules/FileRules.h"

namespace veskline::FileRules {

std::string sha256Hex(const std::string& url, const std::atomic<bool>* stop) {
    return platform::hexadecimal(platform::sha256OfFile(url, stop));
}

} // namespace veskline::FileRules
