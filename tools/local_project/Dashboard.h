#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace local_project {

// The page at "/": files and jobs of all users, newest first, refreshing itself, with nothing loaded from elsewhere.
// `files` and `jobs` are rows as the table service sends them. All that clients sent is shown as text.
[[nodiscard]] std::string dashboardPage(const nlohmann::json& files, const nlohmann::json& jobs);

} // namespace local_project
