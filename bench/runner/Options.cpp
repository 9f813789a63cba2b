#include "runner/Options.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>

namespace bench {

namespace {

int number(const std::string& text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 1) {
        throw std::invalid_argument("\"" + text + "\" is no number of rounds");
    }
    return value;
}

Row row(const std::string& name) {
    const auto found = std::ranges::find(allRows(), name, &Row::name);
    if (found == allRows().end()) {
        throw std::invalid_argument("there is no row \"" + name + "\"");
    }
    return *found;
}

} // namespace

Options Options::read(std::span<const std::string> arguments) {
    Options options;
    std::vector<Row> chosen;
    std::optional<int> rounds;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        const bool takesValue = argument == "--only" || argument == "--rounds";
        if (takesValue && at + 1 == arguments.size()) {
            throw std::invalid_argument(argument + " needs a value");
        }
        if (argument == "--quick") {
            options.sizes = quickSizes;
        } else if (argument == "--json") {
            options.isJson = true;
        } else if (argument == "--help") {
            options.wantsHelp = true;
        } else if (argument == "--only") {
            chosen.push_back(row(arguments[++at]));
        } else if (argument == "--rounds") {
            rounds = number(arguments[++at]);
        } else {
            throw std::invalid_argument("unknown option \"" + argument + "\"");
        }
    }
    options.sizes.rounds = rounds.value_or(options.sizes.rounds);
    if (!chosen.empty()) {
        options.rows = std::move(chosen);
    }
    return options;
}

} // namespace bench
