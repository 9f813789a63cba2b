#pragma once

#include "platform/async/Task.h"
#include "state/records/SyncMode.h"

#include <string>
#include <vector>

namespace veskline {

class LocalDatabase;

// What the preferences remember of the last start: the folders as the user gave them, the speed, and that sync was ever
// started on this machine. Neither a stop nor a sign-out clears any of it.
//
// A view of the database, which outlives it. Its operations run on their caller's executor.
class StoredSelection {
public:
    explicit StoredSelection(LocalDatabase& database) : database_(database) {}

    // Writes all three, the start flag first. Throws DatabaseError, or JsonError for a folder whose name is no UTF-8.
    async::Task<> write(std::vector<std::string> folders, SyncMode mode);

    // These throw DatabaseError. What is absent or makes no sense reads as no folders, `regular` and false.
    async::Task<std::vector<std::string>> folders();
    async::Task<SyncMode> mode();
    async::Task<bool> autoStart();

private:
    LocalDatabase& database_;
};

} // namespace veskline
