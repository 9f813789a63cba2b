#pragma once

#include <unicode/utypes.h>

namespace platform {

// Throws std::runtime_error with ICU's name of the failure. What we ask of ICU fails only where its data or memory is
// not there.
void requireIcu(UErrorCode status);

} // namespace platform
