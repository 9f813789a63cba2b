#include "floors/Digest.h"

#include "floors/Floors.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>

namespace floors {

std::string Digest::hexadecimal(int file) {
    EVP_DigestInit_ex(context_, algorithm_, nullptr);
    for (ssize_t count = 0; (count = read(file, block_.get(), blockBytes)) > 0;) {
        EVP_DigestUpdate(context_, block_.get(), static_cast<std::size_t>(count));
    }
    std::array<unsigned char, 32> digest{};
    EVP_DigestFinal_ex(context_, digest.data(), nullptr);
    std::string text;
    for (const unsigned char byte : digest) {
        text += "0123456789abcdef"[byte >> 4U];
        text += "0123456789abcdef"[byte & 0xFU];
    }
    return text;
}

bench::Sample digest(Arguments arguments) {
    Digest digest;
    const auto digestFile = [&digest](const std::string& path) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        posix_fadvise(file, 0, 0, POSIX_FADV_SEQUENTIAL);
        const std::string text = digest.hexadecimal(file);
        close(file);
        return static_cast<std::int64_t>(text.size());
    };
    digestFile(arguments[0]);
    const bench::Stopwatch stopwatch;
    return stopwatch.stop(digestFile(arguments[1]));
}

} // namespace floors
