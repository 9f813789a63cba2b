#include "state/StoreFile.h"

#include "platform/files/FileError.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

namespace veskline {

namespace {

using platform::FileError;
using platform::WholeFile;

// The file may well be there and hold something.
bool tellsNothingOfTheContent(const std::error_code& code) {
    using enum std::errc;
    constexpr std::array reasons{io_error,          too_many_files_open, too_many_files_open_in_system,
                                 not_enough_memory, timed_out,           permission_denied};
    return std::ranges::any_of(reasons, [&code](std::errc one) { return code == one; });
}

} // namespace

StoreFile::StoreFile(const StorePlace& place, std::optional<std::string> legacyPath, std::size_t mostBytes)
    : url_(place.path, place.mustBeOwn ? WholeFile::Owner::thisUser : WholeFile::Owner::anyone), mostBytes_(mostBytes) {
    if (legacyPath) {
        legacyURL_.emplace(*std::move(legacyPath));
    }
    url_.removeLeftover();
}

std::optional<StoreFile::Content> StoreFile::read() const {
    if (std::optional<std::string> bytes = readUnlessAbsent(url_)) {
        return Content{.bytes = *std::move(bytes)};
    }
    std::optional<std::string> older = legacyURL_ ? readUnlessAbsent(*legacyURL_) : std::nullopt;
    return older ? std::optional(Content{.bytes = *std::move(older), .isLegacy = true}) : std::nullopt;
}

std::optional<std::string> StoreFile::readUnlessAbsent(const WholeFile& file) const {
    try {
        return file.read(mostBytes_);
    } catch (const FileError& error) {
        if (error.code() == std::errc::file_too_large) {
            return std::string();
        }
        if (tellsNothingOfTheContent(error.code())) {
            throw;
        }
        return std::nullopt;
    }
}

void StoreFile::replace(std::string_view bytes) const {
    if (bytes.size() > mostBytes_) {
        throw FileError(fmt::format("The file \"{}\" could not be written: it would be larger than {} bytes",
                                    url_.path(), mostBytes_));
    }
    url_.replace(bytes);
}

void StoreFile::clear() const {
    try {
        if (legacyURL_ && ::access(legacyURL_->path().c_str(), F_OK) == 0) {
            url_.replace({});
        } else {
            url_.remove();
        }
    } catch (const FileError&) {
        return; // a file that is not there, above all
    }
}

} // namespace veskline
