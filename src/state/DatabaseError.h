#pragma once

#include <exception>
#include <optional>
#include <string>

namespace veskline {

// The state database could not be opened, or a statement on it failed. what() is SQLite's own message, followed by the
// statement where one is named: database is locked [SQL: delete from files where path = ?1;]
class DatabaseError : public std::exception {
public:
    explicit DatabaseError(std::string message, std::optional<std::string> sql = std::nullopt);

    [[nodiscard]] const std::string& message() const noexcept { return message_; }
    [[nodiscard]] const std::optional<std::string>& sql() const noexcept { return sql_; }
    [[nodiscard]] const std::string& errorDescription() const noexcept { return errorDescription_; }
    [[nodiscard]] const char* what() const noexcept override { return errorDescription_.c_str(); }

private:
    std::string message_;
    std::optional<std::string> sql_;
    std::string errorDescription_;
};

} // namespace veskline
