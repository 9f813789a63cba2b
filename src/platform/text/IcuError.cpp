#include "platform/text/IcuError.h"

#include <stdexcept>
#include <string>

namespace platform {

void requireIcu(UErrorCode status) {
    if (U_FAILURE(status)) {
        throw std::runtime_error(std::string("The system's text library (ICU) failed: ") + u_errorName(status));
    }
}

} // namespace platform
