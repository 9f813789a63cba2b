#pragma once

#include "state/records/Time.h"

#include <string_view>

namespace veskline {

// A date as the hosted service writes it: an ISO 8601 internet date-time, with or without a fraction of a second of any
// length, at `Z` or at an offset such as `+02:00`, and nothing else. What the fraction has beyond a nanosecond is cut.
// Throws platform::JsonError, "Invalid Supabase date: <text>", also for a year that the clock cannot hold (before 1678
// or after 2261).
[[nodiscard]] Time decodeSupabaseDate(std::string_view text);

} // namespace veskline
