#pragma once

#include <QElapsedTimer>
#include <QObject>

#include <chrono>
#include <vector>

class QQuickWindow;

namespace bench {

// The times between the frames that a window shows.
class FrameTimes {
public:
    explicit FrameTimes(QQuickWindow& window);

    [[nodiscard]] std::size_t count() const { return frames_.size(); }
    // The time that `share` of all frames stay under; zero without frames.
    [[nodiscard]] std::chrono::microseconds quantile(double share) const;

private:
    QObject receiver_;
    QElapsedTimer sinceLast_;
    std::vector<std::chrono::microseconds> frames_;
};

} // namespace bench
