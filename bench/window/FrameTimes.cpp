#include "window/FrameTimes.h"

#include <QQuickWindow>

#include <algorithm>
#include <cmath>

namespace bench {

FrameTimes::FrameTimes(QQuickWindow& window) {
    QObject::connect(&window, &QQuickWindow::frameSwapped, &receiver_, [this] {
        if (sinceLast_.isValid()) {
            frames_.emplace_back(sinceLast_.nsecsElapsed() / 1000);
        }
        sinceLast_.start();
    });
}

std::chrono::microseconds FrameTimes::quantile(double share) const {
    if (frames_.empty()) {
        return {};
    }
    std::vector<std::chrono::microseconds> sorted = frames_;
    std::ranges::sort(sorted);
    const auto below = static_cast<std::size_t>(std::ceil(share * static_cast<double>(sorted.size())));
    return sorted[std::max<std::size_t>(below, 1) - 1];
}

} // namespace bench
