#pragma once

#include "simulation/Findings.h"

#include <cstdint>
#include <string>
#include <vector>

namespace veskline::simulation {

// Reads the engine's log as a user does: the lines of a start come in their order and once, and no work begins after
// "Sync stopped.". A start may come while a stop still waits for its stream to end; the line of that stop is late then,
// which is counted.
class LogOrder {
public:
    LogOrder(std::vector<std::string> roots, Findings& findings) : roots_(std::move(roots)), findings_(findings) {}

    void startAsked() { ++starts_; }
    void stopBegins() { ++stopsUnderWay_; }
    void stopEnds() { --stopsUnderWay_; }
    void startFailed() { mayStartAnew_ = true; }
    void read(const std::string& line);

private:
    enum class Phase : std::uint8_t { idle, starting, folders, drain, scans, complete, watching };
    void readStart(const std::string& line);
    void readStop(const std::string& line);
    void expect(bool isInOrder, const std::string& line);
    void enter(Phase phase, Phase from, const std::string& line);
    void readLineOfScan(const std::string& line);

    std::vector<std::string> roots_;
    Findings& findings_;
    Phase phase_ = Phase::idle;
    bool mayStartAnew_ = false;
    std::size_t nextRoot_ = 0;
    int starts_ = 0;
    int stops_ = 0;
    int stopsUnderWay_ = 0;
    int lateStops_ = 0; // that began before the latest start, and whose line is still to come
    bool mayBeStopped_ = false;
    int scans_ = 0;
    int summaries_ = 0;
};

} // namespace veskline::simulation
