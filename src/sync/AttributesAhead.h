#pragma once

#include "platform/async/Clock.h"
#include "platform/async/Executor.h"
#include "platform/files/FileAttributes.h"
#include "platform/files/GrowingPages.h"
#include "platform/files/PathList.h"

#include <cstddef>
#include <optional>

namespace veskline {

// The attributes of the files of one scan, asked for file by file in their order.
//
// Where nothing is done but compare them, a look at a file takes about a microsecond, and most files of most scans are
// like that. So those of the files next in turn are read with it, by two threads: the more of them the longer such a
// run is, and fewer again where that takes more than a few milliseconds, as no attributes may be older at the turn of
// their file. As soon as the scan does anything else it forgets them, and the next file is looked at when its turn
// comes.
//
// Belongs to one scan and is used on its executor alone; `files` is sorted and outlives it.
class AttributesAhead {
public:
    // `helper` lends the second thread, when it has one to spare.
    AttributesAhead(const platform::PathList& files, async::Executor helper, async::Clock clock);

    // Of the file at `index`, links followed; absent where it cannot be looked at. Blocks for the length of a look.
    [[nodiscard]] const std::optional<platform::FileAttributes>& of(std::size_t index);

    // Time has passed, and others may have come in.
    void forget() noexcept;

private:
    void read(std::size_t first);
    void readTogether();

    const platform::PathList& files_;
    async::Executor helper_;
    async::Clock clock_;
    platform::GrowingPages<std::optional<platform::FileAttributes>> read_; // the first count_ of them hold
    std::size_t first_ = 0;                                                // the place of the first one's file
    std::size_t count_ = 0;
    std::size_t nextCount_ = 1;
};

} // namespace veskline
