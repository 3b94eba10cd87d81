#pragma once

#include <optional>
#include <string>
#include <vector>

namespace companion::bench {

// A measured number, or none where there is nothing to compare with.
using Figure = std::optional<double>;

// One line of the report: what the program does beside the least that could be done and the naive way.
struct Row {
    std::string name;
    std::string unit;
    std::string target; // In words; may be empty.
    Figure program;
    Figure floor;
    Figure baseline;
};

// How much more the screen of 4K costs than that of 1080p.
Row largeToSmall(const Row &large, const Row &small, const std::string &target);

// As a Markdown table, which is also readable as it is. Without the naive way where no row has it.
void print(const std::vector<Row> &rows);

// Of samples in any order; share 0.5 is the median. None of none.
Figure percentile(std::vector<double> samples, double share);

} // namespace companion::bench
