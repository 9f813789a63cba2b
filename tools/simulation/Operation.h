#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace veskline::simulation {

// What may happen around the engine and to it. The numbers of an operation follow in comments.
enum class Action : std::uint8_t {
    write,          // place, content, length
    append,         // place, content, length
    rewriteUnseen,  // place, content: other content, but the same size and time
    touch,          // place
    moveFile,       // place, to place
    removeFile,     // place
    closeFile,      // place: no longer readable
    moveFolder,     // place, to place: their folders
    removeFolder,   // place
    closeFolder,    // place: its folder, or the root; no longer readable
    openAll,        // all is readable again
    moveRootAway,   // root
    moveRootsBack,  //
    start,          // speed: 0 ultra, 1 regular
    stop,           //
    signOut,        //
    signIn,         // user
    expireToken,    //
    pass,           // milliseconds
    report,         // root, or 2 for all: a batch of the change stream
    fault,          // step of the wire, kind, how often
    heal,           // the wire is well again
    lockDatabase,   // another program holds it
    unlockDatabase, //
    freezeQueue,    // its folder takes no new file
    freezeSession,  //
    thaw,           // both folders
    ingest,         // the hosted worker does what it was told
};
inline constexpr std::size_t actionCount = static_cast<std::size_t>(Action::ingest) + 1;

// One line of a script: after so many jobs of the one thread this happens.
struct Operation {
    std::uint32_t jobsBefore = 0;
    Action action = Action::pass;
    std::array<std::uint32_t, 3> numbers{};
    bool operator==(const Operation&) const = default;
};

// "12 write 5 3 80", and back; absent for a line that makes no sense.
[[nodiscard]] std::string textOf(const Operation& operation);
[[nodiscard]] std::optional<Operation> operationOf(const std::string& line);

} // namespace veskline::simulation
