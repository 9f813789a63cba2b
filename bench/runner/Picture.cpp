#include "runner/Picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <functional>
#include <string_view>
#include <system_error>

namespace bench::Picture {

namespace {

// The window's own colours.
constexpr const char* page = "#F4F1E8";
constexpr const char* rule = "#D8D1C7";
constexpr const char* ink = "#0F1011";
constexpr const char* muted = "#5C5953";
constexpr const char* accent = "#BFD62D";
constexpr std::array<const char*, 3> tones{"#0F1011", "#36B078", "#F2A32E"};

std::string framed(int width, int height, const std::string& content) {
    return fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {0} {1}" width="{0}" height="{1}" )"
                       "font-family=\"Inter, sans-serif\" font-size=\"13\">\n"
                       R"(<rect width="{0}" height="{1}" fill="{2}"/>)"
                       "\n{3}</svg>\n",
                       width, height, page, content);
}

std::string text(double x, double y, std::string_view words, const char* color = ink,
                 std::string_view anchor = "start") {
    return fmt::format(R"(<text x="{:.1f}" y="{:.1f}" fill="{}" text-anchor="{}">{}</text>)"
                       "\n",
                       x, y, color, anchor, words);
}

std::string box(double x, double y, double width, double height, const char* color) {
    return fmt::format(R"(<rect x="{:.1f}" y="{:.1f}" width="{:.1f}" height="{:.1f}" fill="{}"/>)"
                       "\n",
                       x, y, width, height, color);
}

std::string line(double x1, double y1, double x2, double y2, const char* color) {
    return fmt::format(R"(<line x1="{:.1f}" y1="{:.1f}" x2="{:.1f}" y2="{:.1f}" stroke="{}"/>)"
                       "\n",
                       x1, y1, x2, y2, color);
}

// In groups of three digits.
std::string grouped(std::int64_t number) {
    std::string digits = fmt::format("{}", number);
    for (std::size_t place = digits.size(); place > 3;) {
        place -= 3;
        digits.insert(place, " ");
    }
    return digits;
}

// One diagram of a scale: a quantity over the number of files.
class Diagram {
public:
    using Quantity = std::function<double(const Scale::Point&)>;
    static constexpr double width = 380;
    static constexpr double height = 300;

    Diagram(const Scale& scale, double left, std::string title, Quantity quantity)
        : scale_(scale), left_(left), title_(std::move(title)), quantity_(std::move(quantity)) {
        const auto& points = scale.lines().front().points;
        firstFiles_ = std::log10(static_cast<double>(points.front().files));
        lastFiles_ = std::log10(static_cast<double>(points.back().files));
        for (const Scale::Line& each : scale.lines()) {
            for (const Scale::Point& point : each.points) {
                least_ = std::min(least_, std::floor(log(point)));
                most_ = std::max(most_, std::ceil(log(point)));
            }
        }
    }

    [[nodiscard]] std::string draw() const {
        std::string picture = text(left_, top - 22, title_);
        for (double decade = least_; decade <= most_; ++decade) {
            picture += line(left_ + axis, y(decade), left_ + width, y(decade), rule);
            picture += text(left_ + axis - 8, y(decade) + 4, fmt::format("{:g}", std::pow(10, decade)), muted, "end");
        }
        for (const Scale::Point& point : scale_.lines().front().points) {
            picture += text(x(point), top + height + 20, grouped(point.files), muted, "middle");
        }
        for (std::size_t i = 0; i < scale_.lines().size(); ++i) {
            picture += drawLine(scale_.lines()[i], tones.at(i % tones.size()), static_cast<double>(i));
        }
        return picture;
    }

private:
    static constexpr double top = 56;
    static constexpr double axis = 46;

    [[nodiscard]] double log(const Scale::Point& point) const { return std::log10(std::max(quantity_(point), 0.01)); }
    [[nodiscard]] double x(const Scale::Point& point) const {
        const double share = (std::log10(static_cast<double>(point.files)) - firstFiles_) / (lastFiles_ - firstFiles_);
        return left_ + axis + share * (width - axis);
    }
    [[nodiscard]] double y(double decade) const { return top + height - (decade - least_) / (most_ - least_) * height; }

    [[nodiscard]] std::string drawLine(const Scale::Line& each, const char* tone, double number) const {
        std::string places;
        std::string picture;
        for (const Scale::Point& point : each.points) {
            places += fmt::format("{:.1f},{:.1f} ", x(point), y(log(point)));
            picture += fmt::format(R"(<circle cx="{:.1f}" cy="{:.1f}" r="3.5" fill="{}"/>)"
                                   "\n",
                                   x(point), y(log(point)), tone);
        }
        picture += fmt::format(R"(<polyline points="{}" fill="none" stroke="{}" stroke-width="2"/>)"
                               "\n",
                               places, tone);
        const double row = top + 14 + number * 18;
        return picture + box(left_ + axis + 12, row - 9, 12, 3, tone) + text(left_ + axis + 30, row - 2, each.name);
    }

    const Scale& scale_;
    double left_;
    std::string title_;
    Quantity quantity_;
    double firstFiles_ = 0;
    double lastFiles_ = 0;
    double least_ = 9;
    double most_ = -9;
};

} // namespace

std::string bars(const std::vector<Comparison>& comparisons) {
    constexpr double top = 64;
    constexpr double rowHeight = 40;
    constexpr double left = 110;
    constexpr double unit = 220; // what a floor's bar would be long
    constexpr double longest = 2.4;
    constexpr int width = 800;
    const double bottom = top + rowHeight * static_cast<double>(comparisons.size());
    std::string picture = text(24, 32, "The agent beside the least program for each kind of work (shorter is better)");
    picture += text(left + unit, top - 10, "1 x the floor", muted, "middle");
    for (std::size_t i = 0; i < comparisons.size(); ++i) {
        const Comparison& each = comparisons[i];
        const double ratio = each.contenders[1].wallMilliseconds.ratio;
        const double y = top + rowHeight * static_cast<double>(i);
        const double length = std::min(ratio, longest) * unit;
        picture += text(24, y + 21, each.row.name);
        picture += box(left, y + 8, length, 18, accent);
        picture += text(left + longest * unit + 20, y + 21,
                        each.row.goal.wall ? fmt::format("{:.2f}, goal {:.2f}", ratio, *each.row.goal.wall)
                                           : fmt::format("{:.2f}", ratio));
        if (each.row.goal.wall) {
            picture += box(left + *each.row.goal.wall * unit - 1, y + 4, 2, 26, ink);
        }
    }
    picture += line(left + unit, top - 4, left + unit, bottom, muted);
    return framed(width, static_cast<int>(bottom) + 20, picture);
}

std::string plot(const Scale& scale) {
    const Diagram time(scale, 24, "Milliseconds, by files",
                       [](const Scale::Point& point) { return point.milliseconds; });
    const Diagram memory(scale, 24 + Diagram::width + 60, "Peak growth in MiB, by files",
                         [](const Scale::Point& point) { return point.growthMiB; });
    return framed(900, 400, time.draw() + memory.draw());
}

void write(const std::string& path, const std::string& picture) {
    std::ofstream file(path);
    if (!(file << picture << std::flush)) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}

} // namespace bench::Picture
