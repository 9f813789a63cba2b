#pragma once

#include <sqlite3.h>

#include <stdexcept>
#include <string>

namespace veskline::testing {

// Another program's connection to a database: it changes it or holds it locked behind the store's back.
class OtherConnection {
public:
    explicit OtherConnection(const std::string& path) {
        if (sqlite3_open(path.c_str(), &database_) != SQLITE_OK) {
            throw std::runtime_error("the test could not open " + path);
        }
    }
    ~OtherConnection() { sqlite3_close(database_); }
    OtherConnection(const OtherConnection&) = delete;
    OtherConnection& operator=(const OtherConnection&) = delete;

    void run(const char* sql) {
        if (sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(database_));
        }
    }
    // Until this connection ends.
    void lock() { run("begin exclusive"); }

private:
    sqlite3* database_ = nullptr;
};

} // namespace veskline::testing
