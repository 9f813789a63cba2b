#include "simulation/LogOrder.h"

namespace veskline::simulation {

void LogOrder::expect(bool isInOrder, const std::string& line) {
    if (!isInOrder) {
        findings_.violate("log lines come in their order, and once", line);
    }
}

void LogOrder::enter(Phase phase, Phase from, const std::string& line) {
    expect(phase_ == from, line);
    phase_ = phase;
}

void LogOrder::read(const std::string& line) {
    if (line.starts_with("Starting sync (")) {
        readStart(line);
    } else if (line.starts_with("Folders: ")) {
        enter(Phase::folders, Phase::starting, line);
    } else if (line == "Performing initial scan...") {
        enter(Phase::drain, Phase::folders, line);
    } else if (line == "Initial scan complete") {
        expect(nextRoot_ == roots_.size(), line);
        enter(Phase::complete, Phase::scans, line);
    } else if (line.starts_with("Watching ")) {
        enter(Phase::watching, Phase::complete, line);
    } else if (line == "Sync stopped.") {
        readStop(line);
    } else {
        readLineOfScan(line);
    }
}

void LogOrder::readStart(const std::string& line) {
    const bool mayFollow = phase_ == Phase::idle || mayStartAnew_ || mayBeStopped_ || stopsUnderWay_ > 0;
    expect(mayFollow, line);
    mayStartAnew_ = false;
    mayBeStopped_ = false;
    lateStops_ = stopsUnderWay_;
    phase_ = Phase::starting;
    nextRoot_ = 0;
}

// While a stop is under way that began before the latest start, the line may be that one's, or end this start.
void LogOrder::readStop(const std::string& line) {
    expect(++stops_ <= starts_, line);
    if (lateStops_ > 0) {
        --lateStops_;
        mayBeStopped_ = true;
        findings_.allow("a start before the last line of a stop");
    } else {
        phase_ = Phase::idle;
    }
}

void LogOrder::readLineOfScan(const std::string& line) {
    if (line.starts_with("Initial scan: ")) {
        expect(phase_ == Phase::drain || phase_ == Phase::scans, line);
        expect(nextRoot_ < roots_.size() && line == "Initial scan: " + roots_[nextRoot_], line);
        phase_ = Phase::scans;
        ++nextRoot_;
        ++scans_;
    } else if (line.starts_with("Rescan: ")) {
        expect(phase_ == Phase::watching || phase_ == Phase::complete, line);
        ++scans_;
    } else if (line.starts_with("Summary: ")) {
        expect(++summaries_ <= scans_, line);
    } else if (line.starts_with("Found ") || line.starts_with("Scanned: ")) {
        expect(phase_ == Phase::scans, line);
    }
}

} // namespace veskline::simulation
