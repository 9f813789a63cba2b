#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>

namespace veskline::test {

// A connection of the test's own to a database file.
class DatabaseFile {
public:
    explicit DatabaseFile(const std::string& path) {
        sqlite3* connection = nullptr;
        sqlite3_open(path.c_str(), &connection);
        connection_.reset(connection);
    }

    // Runs statements; gives the values that they return, each with a blank behind it, or the words of a failure.
    std::string run(const std::string& sql) const {
        const auto add = [](void* result, int count, char** values, char**) {
            for (int column = 0; column < count; ++column) {
                *static_cast<std::string*>(result) += std::string(values[column]) + " ";
            }
            return 0;
        };
        std::string result;
        const int code = sqlite3_exec(connection_.get(), sql.c_str(), add, &result, nullptr);
        return code == SQLITE_OK ? result : sqlite3_errmsg(connection_.get());
    }

private:
    std::unique_ptr<sqlite3, decltype(&sqlite3_close)> connection_{nullptr, &sqlite3_close};
};

} // namespace veskline::test
