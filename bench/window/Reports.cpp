#include "window/Reports.h"

#include "platform/async/PostCall.h"

#include <algorithm>
#include <utility>

namespace bench {

using std::chrono::steady_clock;

Reports::Reports(std::shared_ptr<veskline::DesktopAppModel> model, std::int64_t aSecond,
                 std::chrono::milliseconds duration)
    : model_(std::move(model)), count_(aSecond * duration.count() / 1000),
      thread_([this, duration, aSecond] { run(duration, aSecond); }) {}

Reports::~Reports() {
    thread_.join();
}

std::string Reports::line(std::int64_t number) {
    return "Uploaded Work/clients/northwind/contracts/2026/file-" + std::to_string(number) + ".pdf";
}

void Reports::run(std::chrono::milliseconds duration, std::int64_t aSecond) {
    const auto start = steady_clock::now();
    std::int64_t posted = 0;
    while (posted < count_) {
        const std::chrono::duration<double> passed =
            std::min<steady_clock::duration>(steady_clock::now() - start, duration);
        const auto due = std::min(count_, static_cast<std::int64_t>(passed.count() * static_cast<double>(aSecond)));
        for (; posted < due; ++posted) {
            post(posted);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    isEnded_ = true;
}

void Reports::post(std::int64_t number) {
    async::postCall(model_->executor(), [this, text = line(number)]() mutable {
        const auto start = steady_clock::now();
        model_->appendLog(std::move(text));
        spent_ += steady_clock::now() - start;
    });
    const veskline::IndexingProgressSnapshot progress{
        .totalFiles = count_, .scannedFiles = number, .isActive = true, .startedAt = std::nullopt};
    async::postCall(model_->executor(), [this, progress] {
        const auto start = steady_clock::now();
        model_->showIndexingProgress(progress);
        spent_ += steady_clock::now() - start;
        timed_ += 2;
    });
}

} // namespace bench
