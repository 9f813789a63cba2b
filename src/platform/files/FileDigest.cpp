#include "platform/files/FileDigest.h"

#include "platform/files/DigestAlgorithm.h"
#include "platform/files/FileError.h"
#include "platform/files/OpenDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr std::size_t blockBytes = 65536;
constexpr std::size_t leastBlockBytes = 4096;

template <std::size_t Size>
std::array<unsigned char, Size> finish(DigestAlgorithm::Running& running) {
    std::array<unsigned char, Size> digest{};
    std::ranges::copy_n(running.finish().begin(), Size, digest.begin());
    return digest;
}

// A regular file open for reading.
class OpenFile {
public:
    explicit OpenFile(const std::string& path) : path_(path), descriptor_(OpenDescriptor::file(path.c_str())) {
        if (!descriptor_.isOpen()) {
            throw FileError(path, "opened", errno);
        }
    }

    // Throws where it is no regular file.
    [[nodiscard]] std::size_t size() const {
        struct stat found{};
        if (::fstat(descriptor_.number(), &found) != 0) {
            throw FileError(path_, "read", errno);
        }
        if (!S_ISREG(found.st_mode)) {
            throw FileError(fmt::format("The file \"{}\" could not be read: it is no regular file", path_));
        }
        const auto size = static_cast<std::size_t>(found.st_size);
        if (size > blockBytes) {
            // Only a hint, so its failure says nothing.
            ::posix_fadvise(descriptor_.number(), 0, 0, POSIX_FADV_SEQUENTIAL);
        }
        return size;
    }

    std::size_t read(std::span<unsigned char> block) const {
        ssize_t count = -1;
        do {
            count = ::read(descriptor_.number(), block.data(), block.size());
        } while (count < 0 && errno == EINTR);
        if (count < 0) {
            throw FileError(path_, "read", errno);
        }
        return static_cast<std::size_t>(count);
    }

private:
    const std::string& path_;
    OpenDescriptor descriptor_;
};

} // namespace

Sha256Digest sha256OfFile(const std::string& path, const std::atomic<bool>* stop) {
    static const DigestAlgorithm sha256("SHA256");
    const OpenFile file(path);
    // A small file needs no large block, one byte more than it has; it may have become any other length by now.
    const std::size_t room = std::clamp(file.size() + 1, leastBlockBytes, blockBytes);
    DigestAlgorithm::Running running = sha256.begin();
    const auto buffer = std::make_unique_for_overwrite<unsigned char[]>(room);
    const std::span<unsigned char> block(buffer.get(), room);
    while (const std::size_t count = file.read(block)) {
        if (stop != nullptr && stop->load(std::memory_order_relaxed)) {
            throw FileError(path, "read", ECANCELED);
        }
        running.update(block.first(count));
    }
    return finish<std::tuple_size_v<Sha256Digest>>(running);
}

Md5Digest md5Of(std::string_view bytes) {
    static const DigestAlgorithm md5("MD5");
    DigestAlgorithm::Running running = md5.begin();
    running.update({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
    return finish<std::tuple_size_v<Md5Digest>>(running);
}

std::string hexadecimal(std::span<const unsigned char> bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

} // namespace platform
