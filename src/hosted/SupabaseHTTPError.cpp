#include "hosted/SupabaseHTTPError.h"

#include <fmt/format.h>

#include <utility>

namespace veskline {

SupabaseHTTPError::SupabaseHTTPError(Case errorCase, std::string text, std::optional<int> status)
    : case_(errorCase), text_(std::move(text)), status_(status) {}

SupabaseHTTPError SupabaseHTTPError::message(std::string text) {
    return {Case::message, std::move(text)};
}

SupabaseHTTPError SupabaseHTTPError::refused(int status) {
    return {Case::message, fmt::format("Supabase request failed with status {}", status), status};
}

SupabaseHTTPError SupabaseHTTPError::notAuthenticated() {
    return {Case::notAuthenticated, "Not authenticated"};
}

SupabaseHTTPError SupabaseHTTPError::invalidURL() {
    return {Case::invalidURL, "Invalid Supabase URL"};
}

SupabaseHTTPError SupabaseHTTPError::unauthorized() {
    return {Case::unauthorized, "Supabase session is unauthorized", 401};
}

SupabaseHTTPError SupabaseHTTPError::invalidResponse() {
    return {Case::invalidResponse, "Invalid Supabase response"};
}

} // namespace veskline
