#include "meter/Table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace companion::bench {
namespace {

std::string text(const Figure &figure) {
    if (!figure)
        return "";
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, *figure >= 100 ? "%.0f" : (*figure >= 10 ? "%.1f" : "%.3f"),
                  *figure);
    return buffer;
}

Figure ratio(const Figure &a, const Figure &b) {
    return a && b && *b > 0 ? Figure(*a / *b) : Figure();
}

std::string ratio(const Row &row) {
    const Figure programToFloor = ratio(row.program, row.floor);
    if (!programToFloor)
        return "";
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.2f", *programToFloor);
    return buffer;
}

} // namespace

Row largeToSmall(const Row &large, const Row &small, const std::string &target) {
    std::string name = large.name;
    name.replace(name.find("4K"), 2, "4K to 1080p");
    return {name,
            "",
            target,
            ratio(large.program, small.program),
            ratio(large.floor, small.floor),
            ratio(large.baseline, small.baseline)};
}

void print(const std::vector<Row> &rows) {
    const bool naive =
        std::any_of(rows.begin(), rows.end(), [](const Row &row) { return row.baseline.has_value(); });
    std::printf("| figure | unit | target | program | floor | program / floor |%s\n",
                naive ? " full repaint |" : "");
    std::printf("|---|---|---|---|---|---|%s\n", naive ? "---|" : "");
    for (const Row &row : rows) {
        std::printf("| %s | %s | %s | %s | %s | %s |", row.name.c_str(), row.unit.c_str(), row.target.c_str(),
                    text(row.program).c_str(), text(row.floor).c_str(), ratio(row).c_str());
        std::puts(naive ? (" " + text(row.baseline) + " |").c_str() : "");
    }
    std::fflush(stdout);
}

Figure percentile(std::vector<double> samples, double share) {
    if (samples.empty())
        return std::nullopt;
    std::sort(samples.begin(), samples.end());
    const auto last = static_cast<double>(samples.size() - 1);
    return samples[static_cast<std::size_t>(std::lround(last * share))];
}

} // namespace companion::bench
