#include "simulation/Script.h"

#include "simulation/Names.h"
#include "simulation/WireFaults.h"

#include <fmt/format.h>

#include <random>
#include <sstream>
#include <stdexcept>

namespace veskline::simulation {

namespace {

struct Weight {
    Action action;
    unsigned weight;
};

constexpr std::array<Weight, actionCount> weights{{
    {Action::write, 16},        {Action::append, 5},        {Action::rewriteUnseen, 1}, {Action::touch, 3},
    {Action::moveFile, 5},      {Action::removeFile, 6},    {Action::closeFile, 1},     {Action::moveFolder, 1},
    {Action::removeFolder, 1},  {Action::closeFolder, 2},   {Action::openAll, 2},       {Action::moveRootAway, 2},
    {Action::moveRootsBack, 3}, {Action::start, 10},        {Action::stop, 6},          {Action::signOut, 1},
    {Action::signIn, 2},        {Action::expireToken, 2},   {Action::pass, 16},         {Action::report, 14},
    {Action::fault, 18},        {Action::heal, 3},          {Action::lockDatabase, 2},  {Action::unlockDatabase, 4},
    {Action::freezeQueue, 1},   {Action::freezeSession, 1}, {Action::thaw, 2},          {Action::ingest, 2},
}};

class Author {
public:
    explicit Author(std::uint64_t seed) : random_(seed) {
        const std::uint32_t places = 4 + below(4);
        for (std::uint32_t i = 0; i < places; ++i) {
            cast_.push_back(drawPlace());
        }
    }

    std::uint32_t below(std::uint32_t end) { return static_cast<std::uint32_t>(random_() % end); }

    Operation write() { return {0, Action::write, {place(), below(3), length()}}; }

    // Something happens; now and then the engine hears of it and looks, so that what comes next meets a rescan under
    // way.
    void writeScene(std::vector<Operation>& operations) {
        switch (below(16)) {
        case 0:
            return writeThereAndBack(operations);
        case 1:
            return writeRestart(operations);
        case 2:
            return writeFailingTogether(operations);
        default:
            break;
        }
        const Action action = operations.emplace_back(next()).action;
        if (action <= Action::moveFolder && below(3) == 0) {
            letRescanFollow(operations);
        }
    }

private:
    // Mostly documents in plain folders: they are what the promises are about.
    std::uint32_t drawPlace() {
        const bool isOdd = below(8) == 0;
        const Place place{.root = below(2),
                          .folder = below(isOdd ? std::uint32_t{folderNames.size()} : 4),
                          .name = below(isOdd ? std::uint32_t{fileNames.size()} : 11)};
        return place.number();
    }
    Operation next() {
        Operation operation{jobsBefore(), drawAction(), {}};
        operation.numbers = numbersOf(operation.action);
        return operation;
    }

    void letRescanFollow(std::vector<Operation>& operations) {
        operations.push_back({0, Action::report, {2, 0, 0}});
        operations.push_back({below(2) * 40, Action::pass, {2100, 0, 0}});
    }

    // A file changes or goes while the wire is bad, and is back as it was before all is done.
    void writeThereAndBack(std::vector<Operation>& operations) {
        const std::uint32_t there = place();
        const std::uint32_t elsewhere = drawPlace();
        const Operation fault{1500, Action::fault, {3 + below(4), below(WireFaults::kindCount), 1 + below(2)}};
        if (below(4) == 0) {
            operations.push_back({0, Action::freezeQueue, {}});
        }
        if (below(2) == 0) {
            operations.insert(operations.end(), {fault, {0, Action::moveFile, {there, elsewhere, 0}}});
            letRescanFollow(operations);
            operations.push_back({below(400), Action::moveFile, {elsewhere, there, 0}});
        } else {
            operations.insert(operations.end(), {fault, {0, Action::write, {there, 1, 20}}});
            letRescanFollow(operations);
            operations.push_back({below(400), Action::write, {there, 0, 20}});
        }
        letRescanFollow(operations);
    }

    // A stop and a start while something is under way, on a bad wire.
    void writeRestart(std::vector<Operation>& operations) {
        operations.push_back(write());
        operations.push_back({0, Action::fault, {drawStep(), below(WireFaults::kindCount), 1 + below(3)}});
        letRescanFollow(operations);
        operations.push_back({below(120), Action::stop, {}});
        if (below(4) == 0) {
            operations.push_back({below(20), Action::signIn, {below(2), 0, 0}});
        }
        operations.push_back({below(20), Action::start, {}});
    }

    // Files of all roots fail side by side.
    void writeFailingTogether(std::vector<Operation>& operations) {
        operations.push_back({1500, Action::pass, {2100, 0, 0}});
        for (std::uint32_t i = 0; i < 6; ++i) {
            const Place place{.root = i % 2, .folder = below(3), .name = below(11)};
            operations.push_back({0, Action::write, {place.number(), below(3), 20}});
        }
        operations.push_back({0, Action::fault, {drawStep(), below(WireFaults::kindCount), 12}});
        letRescanFollow(operations);
        operations.push_back({300, Action::heal, {}});
    }

    // Mostly at the steps of an upload.
    std::uint32_t drawStep() {
        return below(2) == 0 ? below(WireFaults::stepCount) : WireFaults::uploadSteps.at(below(3));
    }
    std::uint32_t place() { return cast_[below(static_cast<std::uint32_t>(cast_.size()))]; }
    // Few lengths, so that a content comes back now and then; some are over the limit.
    std::uint32_t length() { return below(12) == 0 ? 395 + below(10) : 20 * below(4); }

    std::uint32_t jobsBefore() {
        switch (below(5)) {
        case 0:
            return 0;
        case 1:
        case 2:
            return below(25);
        case 3:
            return below(150);
        default:
            return 1500;
        }
    }

    Action drawAction() {
        unsigned all = 0;
        for (const Weight& each : weights) {
            all += each.weight;
        }
        unsigned drawn = below(all);
        for (const Weight& each : weights) {
            if (drawn < each.weight) {
                return each.action;
            }
            drawn -= each.weight;
        }
        return Action::pass;
    }

    std::array<std::uint32_t, 3> numbersOf(Action action) {
        switch (action) {
        case Action::write:
        case Action::append:
            return {place(), below(3), length()};
        case Action::fault:
            return {drawStep(), below(WireFaults::kindCount), 1 + below(8)};
        case Action::start:
            return {below(8) == 0 ? 1U : 0U, 0, 0};
        case Action::pass:
            return {below(2) == 0 ? 2100 : below(1500), 0, 0};
        case Action::report:
            return {below(3), 0, 0};
        case Action::moveRootAway:
        case Action::signIn:
            return {below(2), 0, 0};
        default:
            return {place(), below(3) == 0 ? drawPlace() : place(), 0};
        }
    }

    std::mt19937_64 random_;
    std::vector<std::uint32_t> cast_;
};

} // namespace

Script Script::ofSeed(std::uint64_t seed) {
    Author author(seed);
    Script script{.seed = seed, .layout = static_cast<Layout>(author.below(4)), .lastUser = author.below(4) / 3};
    const std::uint32_t files = 2 + author.below(4);
    for (std::uint32_t i = 0; i < files; ++i) {
        script.operations.push_back(author.write());
    }
    script.operations.push_back({0, Action::start, {}});
    const std::uint32_t count = 10 + author.below(20);
    for (std::uint32_t i = 0; i < count; ++i) {
        author.writeScene(script.operations);
    }
    return script;
}

std::string Script::text() const {
    std::string text = fmt::format("seed {} layout {} user {}\n", seed, static_cast<unsigned>(layout), lastUser);
    for (const Operation& operation : operations) {
        text += textOf(operation) + "\n";
    }
    return text;
}

Script Script::ofText(const std::string& text) {
    std::istringstream in(text);
    Script script;
    std::string word;
    unsigned layout = 0;
    in >> word >> script.seed >> word >> layout >> word >> script.lastUser;
    if (in.fail() || layout > static_cast<unsigned>(Layout::nested)) {
        throw std::runtime_error("A script begins with: seed NUMBER layout NUMBER user NUMBER");
    }
    script.layout = static_cast<Layout>(layout);
    std::string line;
    for (std::getline(in, line); std::getline(in, line);) {
        const std::optional<Operation> operation = operationOf(line);
        if (!operation) {
            throw std::runtime_error(fmt::format("This is no line of a script: \"{}\"", line));
        }
        script.operations.push_back(*operation);
    }
    return script;
}

} // namespace veskline::simulation
