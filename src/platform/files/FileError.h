#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace platform {

// A file or folder could not be worked with. Its words name the operation and the path and end in the system's own
// reason, as in: The file "/home/ann/a.txt" could not be opened: Permission denied. A disk that is full, over its quota
// or read-only is named by where it is mounted.
// Bytes of the path that are no valid UTF-8 stand as they are: whoever shows the text makes it presentable.
class FileError : public std::runtime_error {
public:
    // `what` completes the sentence 'The file "<path>" could not be <what>', `number` is an errno value.
    FileError(std::string_view path, std::string_view what, int number);
    // A failure that no errno tells, in words of its own.
    explicit FileError(const std::string& words);

    [[nodiscard]] std::error_code code() const noexcept { return code_; }

private:
    std::error_code code_;
};

} // namespace platform
