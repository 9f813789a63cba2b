#pragma once

#include <exception>
#include <optional>
#include <string>

namespace veskline {

// How the hosted service, or its client, fails. What fails below, such as the transport, a file or the reading of a
// body, goes to the caller as it is.
class SupabaseHTTPError : public std::exception {
public:
    enum class Case { message, notAuthenticated, invalidURL, unauthorized, invalidResponse };

    [[nodiscard]] static SupabaseHTTPError message(std::string text);
    [[nodiscard]] static SupabaseHTTPError notAuthenticated();  // no stored session
    [[nodiscard]] static SupabaseHTTPError refused(int status); // as a message, for a status that is no success
    [[nodiscard]] static SupabaseHTTPError invalidURL();        // the configured URL, or a path with it
    [[nodiscard]] static SupabaseHTTPError unauthorized();      // status 401
    [[nodiscard]] static SupabaseHTTPError invalidResponse();   // no HTTP, or not what the request asks for

    [[nodiscard]] Case errorCase() const noexcept { return case_; }
    // Of the response, where the service answered with one that is no success.
    [[nodiscard]] std::optional<int> status() const noexcept { return status_; }
    // For the user.
    [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

    friend bool operator==(const SupabaseHTTPError& one, const SupabaseHTTPError& other) {
        return one.case_ == other.case_ && one.text_ == other.text_;
    }

private:
    SupabaseHTTPError(Case errorCase, std::string text, std::optional<int> status = std::nullopt);

    Case case_;
    std::string text_;
    std::optional<int> status_;
};

} // namespace veskline
