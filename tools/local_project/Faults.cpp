#include "local_project/Faults.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <functional>
#include <limits>

#include <fmt/format.h>
#include <fnmatch.h>

namespace local_project {

using nlohmann::json;

namespace {

constexpr std::array<std::pair<FaultKind, std::string_view>, 15> kinds = {{
    {FaultKind::status, "status"},
    {FaultKind::refusedToken, "refused-token"},
    {FaultKind::expireTokens, "expire-tokens"},
    {FaultKind::revokeRefresh, "revoke-refresh"},
    {FaultKind::cutBefore, "cut-before"},
    {FaultKind::cutAfter, "cut-after"},
    {FaultKind::cutInBody, "cut-in-body"},
    {FaultKind::cutUpload, "cut-upload"},
    {FaultKind::stall, "stall"},
    {FaultKind::truncate, "truncate"},
    {FaultKind::html, "html"},
    {FaultKind::wrongType, "wrong-type"},
    {FaultKind::envelope, "envelope"},
    {FaultKind::junk, "junk"},
    {FaultKind::redirect, "redirect"},
}};

// How often a stalled request looks whether its client is still there.
constexpr std::chrono::milliseconds lookInterval{20};

FaultKind kindOf(const json& name) {
    const auto* found = std::ranges::find_if(kinds, [&](const auto& kind) { return name == kind.second; });
    if (found == kinds.end()) {
        throw FaultError(fmt::format("{} is no kind of fault", textOf(name)));
    }
    return found->first;
}

void readInto(std::uint64_t& field, const json& value) {
    if (!value.is_number_unsigned() && !(value.is_number_integer() && value >= 0)) {
        throw FaultError(fmt::format("{} is no whole number from 0", textOf(value)));
    }
    field = value.get<std::uint64_t>();
}

void readInto(std::string& field, const json& value) {
    if (!value.is_string()) {
        throw FaultError(fmt::format("{} is no text", textOf(value)));
    }
    field = value.get<std::string>();
}

void readInto(bool& field, const json& value) {
    if (!value.is_boolean()) {
        throw FaultError(fmt::format("{} is neither true nor false", textOf(value)));
    }
    field = value.get<bool>();
}

void readInto(int& field, const json& value) {
    constexpr std::uint64_t largest = 599;
    std::uint64_t number = 0;
    readInto(number, value);
    field = static_cast<int>(std::min(number, largest));
}

void readInto(std::chrono::milliseconds& field, const json& value) {
    std::uint64_t number = 0;
    readInto(number, value);
    constexpr std::uint64_t longest = 86'400'000;
    field = std::chrono::milliseconds(std::min(number, longest));
}

void readInto(double& field, const json& value) {
    if (!value.is_number() || value.get<double>() < 0 || value.get<double>() > 1) {
        throw FaultError(fmt::format("{} is no rate from 0 to 1", textOf(value)));
    }
    field = value.get<double>();
}

template <typename Field>
void readInto(std::optional<Field>& field, const json& value) {
    readInto(field.emplace(), value);
}

void readField(Fault& fault, const std::string& name, const json& value) {
    const std::array<std::pair<std::string_view, std::function<void()>>, 16> readers = {{
        {"kind", [&] { fault.kind = kindOf(value); }},
        {"method", [&] { readInto(fault.method, value); }},
        {"path", [&] { readInto(fault.path, value); }},
        {"target", [&] { readInto(fault.target, value); }},
        {"skip", [&] { readInto(fault.skip, value); }},
        {"count", [&] { readInto(fault.count, value); }},
        {"rate", [&] { readInto(fault.rate, value); }},
        {"seed", [&] { readInto(fault.seed, value); }},
        {"after", [&] { readInto(fault.isAfter, value); }},
        {"status", [&] { readInto(fault.status, value); }},
        {"body", [&] { readInto(fault.body, value); }},
        {"ms", [&] { readInto(fault.wait, value); }},
        {"bytes", [&] { readInto(fault.bytes, value); }},
        {"mib", [&] { readInto(fault.mebibytes, value); }},
        {"location", [&] { readInto(fault.location, value); }},
        {"message", [&] { readInto(fault.message, value); }},
    }};
    const auto* reader = std::ranges::find_if(readers, [&](const auto& known) { return known.first == name; });
    if (reader == readers.end()) {
        throw FaultError(fmt::format("a fault has no \"{}\"", name));
    }
    reader->second();
}

Fault faultOf(const json& description) {
    if (!description.is_object() || !description.contains("kind")) {
        throw FaultError("a fault is a JSON object with a \"kind\"");
    }
    Fault fault;
    for (const auto& [name, value] : description.items()) {
        readField(fault, name, value);
    }
    return fault;
}

std::regex compiled(const std::string& expression) {
    try {
        return std::regex(expression);
    } catch (const std::regex_error& error) {
        throw FaultError(fmt::format("\"{}\" is no regular expression: {}", expression, error.what()));
    }
}

} // namespace

std::string Faults::nameOf(FaultKind kind) {
    const auto* found = std::ranges::find_if(kinds, [&](const auto& known) { return known.first == kind; });
    return std::string(found->second);
}

void Faults::add(const Fault& fault) {
    Rule rule{.fault = fault, .target = compiled(fault.target), .random = {}};
    const std::lock_guard lock(mutex_);
    rule.random.seed(fault.seed.value_or(seed_ + rules_.size()));
    rules_.push_back(std::move(rule));
}

void Faults::add(const json& description) {
    std::vector<Fault> faults;
    for (const json& one : description.is_array() ? description : json::array({description})) {
        faults.push_back(faultOf(one));
        static_cast<void>(compiled(faults.back().target));
    }
    for (const Fault& fault : faults) {
        add(fault);
    }
}

void Faults::addFile(const std::filesystem::path& file) {
    std::ifstream stream(file);
    const json description = json::parse(stream, nullptr, false);
    if (!stream || description.is_discarded()) {
        throw FaultError(fmt::format("{} cannot be read as JSON", file.string()));
    }
    add(description);
}

bool Faults::Rule::matches(const Request& request) const {
    return (fault.method.empty() || fault.method == request.head.method) &&
           (fault.path.empty() || fnmatch(fault.path.c_str(), request.path.c_str(), FNM_NOESCAPE) == 0) &&
           (fault.target.empty() || std::regex_search(request.head.target, target));
}

bool Faults::Rule::isDue() {
    const bool isDrawn = !fault.rate || std::uniform_real_distribution<>()(random) < *fault.rate;
    const auto most = fault.count.value_or(fault.rate ? std::numeric_limits<std::uint64_t>::max() : 1);
    if (++matched <= fault.skip || !isDrawn || applied >= most) {
        return false;
    }
    ++applied;
    return true;
}

std::optional<Fault> Faults::take(const Request& request) {
    const std::lock_guard lock(mutex_);
    for (Rule& rule : rules_) {
        if (rule.matches(request) && rule.isDue()) {
            return rule.fault;
        }
    }
    return std::nullopt;
}

bool Faults::stall(const Fault& fault, const Request& request) {
    using std::chrono::steady_clock;
    const auto begin = steady_clock::now();
    std::unique_lock lock(mutex_);
    const auto release = releases_;
    ++stalled_;
    changed_.notify_all();
    const auto isOver = [&] {
        const bool isTimeUp = fault.wait && steady_clock::now() - begin >= *fault.wait;
        return isStopping_ || releases_ != release || isTimeUp;
    };
    bool isAbandoned = false;
    while (!isAbandoned &&
           !changed_.wait_for(lock, std::min(fault.wait.value_or(lookInterval), lookInterval), isOver)) {
        isAbandoned = request.isAbandoned();
    }
    --stalled_;
    return !isAbandoned && !isStopping_;
}

bool Faults::waitForStalled(std::uint64_t requests, std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] { return stalled_ >= requests; });
}

void Faults::release() {
    const std::lock_guard lock(mutex_);
    ++releases_;
    changed_.notify_all();
}

void Faults::clear() {
    const std::lock_guard lock(mutex_);
    rules_.clear();
    ++releases_;
    changed_.notify_all();
}

void Faults::stop() {
    const std::lock_guard lock(mutex_);
    isStopping_ = true;
    changed_.notify_all();
}

json Faults::list() {
    const std::lock_guard lock(mutex_);
    json faults = json::array();
    for (const Rule& rule : rules_) {
        faults.push_back({{"kind", nameOf(rule.fault.kind)},
                          {"method", rule.fault.method},
                          {"path", rule.fault.path},
                          {"target", rule.fault.target},
                          {"matched", rule.matched},
                          {"applied", rule.applied}});
    }
    return {{"faults", faults}, {"stalled", stalled_}};
}

std::optional<Response> Faults::answerOf(const Fault& fault) {
    switch (fault.kind) {
    case FaultKind::status:
        return Response{.status = fault.status, .body = fault.body};
    case FaultKind::html:
        return Response{.body = "<!doctype html><title>Welcome</title><p>Please sign in to this network.",
                        .contentType = "text/html"};
    case FaultKind::wrongType:
        return jsonResponse(200, 42);
    case FaultKind::envelope:
        return jsonResponse(200, {{"message", fault.message}});
    case FaultKind::junk:
        return Response{.body = std::string(fault.mebibytes << 20U, 'x')};
    case FaultKind::redirect:
        return Response{.status = 307, .body = {}, .headers = {{"Location", fault.location}}};
    default:
        return std::nullopt;
    }
}

} // namespace local_project
