#include "sync/AttributesAhead.h"

#include "platform/async/SharedWork.h"

#include <algorithm>
#include <chrono>

namespace veskline {

namespace {

constexpr std::size_t mostAhead = 4096;
constexpr std::size_t filesInPiece = 128;
constexpr std::chrono::milliseconds longTime(5); // twice what the most of them take where all is in memory

} // namespace

AttributesAhead::AttributesAhead(const platform::PathList& files, async::Executor helper, async::Clock clock)
    : files_(files), helper_(helper), clock_(clock) {
    read_.appendZeros(mostAhead);
}

const std::optional<platform::FileAttributes>& AttributesAhead::of(std::size_t index) {
    if (index - first_ >= count_) {
        read(index);
    }
    return read_[index - first_];
}

void AttributesAhead::forget() noexcept {
    count_ = 0;
    nextCount_ = 1;
}

void AttributesAhead::read(std::size_t first) {
    const async::Instant start = clock_.now();
    first_ = first;
    count_ = std::min(nextCount_, files_.size() - first);
    readTogether();
    const bool tookLong = clock_.now() - start > longTime;
    nextCount_ = tookLong ? std::max<std::size_t>(nextCount_ / 2, 1) : std::min(nextCount_ * 2, mostAhead);
}

// A second thread is worth its waking for more than a piece.
void AttributesAhead::readTogether() {
    const auto readPiece = [&](std::size_t piece) {
        const std::size_t start = piece * filesInPiece;
        const std::size_t count = std::min(filesInPiece, count_ - start);
        platform::findFileAttributes(files_, first_ + start, read_.values().subspan(start, count));
    };
    if (count_ <= filesInPiece) {
        readPiece(0);
    } else {
        async::shareOut(helper_, (count_ + filesInPiece - 1) / filesInPiece, readPiece);
    }
}

} // namespace veskline
