#include "hosted/SupabaseHTTPError.h"

#include <utility>

namespace veskline {

SupabaseHTTPError::SupabaseHTTPError(Case errorCase, std::string text) : case_(errorCase), text_(std::move(text)) {}

SupabaseHTTPError SupabaseHTTPError::message(std::string text) {
    return {Case::message, std::move(text)};
}

SupabaseHTTPError SupabaseHTTPError::notAuthenticated() {
    return {Case::notAuthenticated, "Not authenticated"};
}

SupabaseHTTPError SupabaseHTTPError::invalidURL() {
    return {Case::invalidURL, "Invalid Supabase URL"};
}

SupabaseHTTPError SupabaseHTTPError::unauthorized() {
    return {Case::unauthorized, "Supabase session is unauthorized"};
}

SupabaseHTTPError SupabaseHTTPError::invalidResponse() {
    return {Case::invalidResponse, "Invalid Supabase response"};
}

} // namespace veskline
