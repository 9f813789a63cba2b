#include "simulation/WireFaults.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace veskline::simulation {

namespace {

using Fault = testing::InProcessProject::Fault;

// Beginnings of requests; the last one is that of all.
constexpr std::array<std::string_view, WireFaults::stepCount> steps{
    "POST /auth/v1/token", "GET /auth/v1/user",    "POST /storage/v1/object/", "POST /rest/v1/files",
    "GET /rest/v1/files",  "PATCH /rest/v1/files", "POST /rest/v1/jobs",       ""};

constexpr std::array<Fault, WireFaults::kindCount> kinds{{
    {400},
    {401},
    {403},
    {404},
    {409},
    {413},
    {422},
    {429},
    {500},
    {502},
    {503},
    {504},
    {507},
    {544},
    {0},
    {0},
    {0, Fault::Answer::lost},
    {0, Fault::Answer::lost},
    {0, Fault::Answer::truncated},
    {0, Fault::Answer::nonsense},
}};

std::string nameOf(const Fault& fault) {
    switch (fault.answer) {
    case Fault::Answer::lost:
        return "answer lost";
    case Fault::Answer::truncated:
        return "answer truncated";
    case Fault::Answer::nonsense:
        return "answer nonsense";
    case Fault::Answer::instead:
        break;
    }
    return fault.status == 0 ? "connection broken" : fmt::format("status {}", fault.status);
}

} // namespace

void WireFaults::add(std::uint32_t step, std::uint32_t kind, std::uint32_t times) {
    if (times > 0) {
        faults_.push_back({steps.at(step % stepCount), kind % kindCount, times});
    }
}

std::optional<Fault> WireFaults::strike(std::string_view request) {
    const auto found =
        std::ranges::find_if(faults_, [&](const Pending& each) { return request.starts_with(each.step); });
    if (found == faults_.end()) {
        return std::nullopt;
    }
    const Fault fault = kinds.at(found->kind);
    ++findings_.faults[nameOf(fault)];
    if (--found->times == 0) {
        faults_.erase(found);
    }
    return fault;
}

} // namespace veskline::simulation
