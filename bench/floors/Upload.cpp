#include "floors/Floors.h"
#include "floors/KeptConnection.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace floors {

bench::Sample upload(Arguments arguments) {
    KeptConnection connection(arguments[0]);
    const auto uploadFile = [&connection](const std::string& path) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat found{};
        fstat(file, &found);
        connection.post("/storage/v1/object/files/user-x/root-y/large.pdf", file, found.st_size);
        close(file);
        return std::int64_t{found.st_size};
    };
    uploadFile(arguments[1]);
    const bench::Stopwatch stopwatch;
    return stopwatch.stop(uploadFile(arguments[2]));
}

} // namespace floors
