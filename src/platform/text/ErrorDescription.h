#pragma once

#include <exception>
#include <string>

namespace platform {

// The words of an error as a user reads them in a status line, a log line or the retry queue: what(), made valid UTF-8
// (it may quote the bytes of a file name). Never empty: an error that says nothing of itself, and one of a type that
// is no std::exception, gets words as well.
[[nodiscard]] std::string describe(const std::exception& error);

// The same for a caught error of any type. A null pointer is described as an unknown error.
[[nodiscard]] std::string describe(const std::exception_ptr& error);

} // namespace platform
