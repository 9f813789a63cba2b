#pragma once

#include <string>

namespace veskline {

// What the state database asks of its file before SQLite opens it.

// Throws DatabaseError where the file, or one of those that SQLite keeps beside it and would read back into it, is
// there and is not a regular file of this user alone: in a folder that all share, another user could have put a link
// or a journal there.
void refuseForeignDatabaseFile(const std::string& path);

// Creates the file for this user alone where there is none. SQLite would create it readable by all, and gives the files
// beside it the mode of the database. A failure is left to SQLite, which has the words for it.
void createPrivateDatabaseFile(const std::string& path) noexcept;

} // namespace veskline
