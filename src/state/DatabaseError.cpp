#include "state/DatabaseError.h"

#include <fmt/format.h>

#include <utility>

namespace veskline {

DatabaseError::DatabaseError(std::string message, std::optional<std::string> sql)
    : message_(std::move(message)), sql_(std::move(sql)),
      errorDescription_(sql_ ? fmt::format("{} [SQL: {}]", message_, *sql_) : message_) {}

} // namespace veskline
