#include "state/OwnDatabaseFile.h"

#include "platform/files/FileError.h"
#include "platform/files/FileOwnership.h"
#include "platform/files/OpenDescriptor.h"
#include "state/DatabaseError.h"

namespace veskline {

void refuseForeignDatabaseFile(const std::string& path) {
    try {
        for (const char* suffix : {"", "-journal", "-wal", "-shm"}) {
            platform::refuseForeignFile(path + suffix);
        }
    } catch (const platform::FileError& error) {
        throw DatabaseError(error.what());
    }
}

void createPrivateDatabaseFile(const std::string& path) noexcept {
    // Only where there is none: to close a file that a connection of this process has open would drop its locks
    // (fcntl(2)).
    (void)platform::OpenDescriptor::newFile(path.c_str());
}

} // namespace veskline
