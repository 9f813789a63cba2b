#include "platform/async/SharedWork.h"

#include "platform/async/PostCall.h"

#include <atomic>
#include <memory>

namespace async {

namespace {

// Outlives the call where the helper comes late: it then finds no piece left, and does not touch the work.
class Pieces {
public:
    Pieces(std::size_t count, const std::function<void(std::size_t)>& work) : count_(count), work_(work) {}

    void takeWhatIsLeft() {
        for (std::size_t piece = next_++; piece < count_; piece = next_++) {
            work_(piece);
            if (++done_ == count_) {
                done_.notify_one();
            }
        }
    }
    void waitForAll() {
        for (std::size_t done = done_; done != count_; done = done_) {
            done_.wait(done);
        }
    }

private:
    const std::size_t count_;
    const std::function<void(std::size_t)>& work_;
    std::atomic<std::size_t> next_ = 0;
    std::atomic<std::size_t> done_ = 0;
};

} // namespace

void shareOut(Executor helper, std::size_t pieces, const std::function<void(std::size_t)>& work) {
    const auto shared = std::make_shared<Pieces>(pieces, work);
    if (helper) {
        postCall(helper, [shared] { shared->takeWhatIsLeft(); });
    }
    shared->takeWhatIsLeft();
    shared->waitForAll();
}

} // namespace async
