#pragma once

#include "model/DesktopAppModel.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

namespace bench {

// An engine that does nothing but report, at a steady rate: a log line and a progress each time, handed to the main
// thread as the engine hands them over. The reports end by themselves.
class Reports {
public:
    Reports(std::shared_ptr<veskline::DesktopAppModel> model, std::int64_t aSecond, std::chrono::milliseconds duration);
    ~Reports();
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;

    [[nodiscard]] bool areAllPosted() const { return isEnded_; }
    [[nodiscard]] std::int64_t count() const { return count_; }
    [[nodiscard]] std::string lastLine() const { return line(count_ - 1); }
    // Spent by the main thread in a report, of those that were timed. Asked on the main thread.
    [[nodiscard]] std::chrono::nanoseconds timeAReport() const { return timed_ == 0 ? spent_ : spent_ / timed_; }

private:
    static std::string line(std::int64_t number);
    void post(std::int64_t number);
    void run(std::chrono::milliseconds duration, std::int64_t aSecond);

    std::shared_ptr<veskline::DesktopAppModel> model_;
    std::int64_t count_;
    std::chrono::nanoseconds spent_{0};
    std::int64_t timed_ = 0;
    std::atomic<bool> isEnded_ = false;
    std::thread thread_;
};

} // namespace bench
