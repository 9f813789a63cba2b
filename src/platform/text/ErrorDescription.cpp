#include "platform/text/ErrorDescription.h"

#include "platform/text/Utf8.h"

#include <new>
#include <string_view>

namespace platform {
namespace {

constexpr std::string_view unknownError = "An unknown error occurred";

} // namespace

std::string describe(const std::exception& error) {
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
        return "There is not enough memory";
    }
    std::string words = withReplacementCharacters(error.what());
    return words.empty() ? std::string(unknownError) : words;
}

std::string describe(const std::exception_ptr& error) {
    if (!error) {
        return std::string(unknownError);
    }
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& known) {
        return describe(known);
    } catch (...) {
        return std::string(unknownError);
    }
}

} // namespace platform
