// SPDX-License-Identifier: MIT
// How every measuring program reports a figure: as one line of tab-separated fields, which
// scripts/bench formats as a table.
#pragma once

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace zav::bench {

struct Figure {
    std::string name;
    double value = 0;
    std::string unit;
    double limit = 0;
    std::string remark = {};
    bool exact = false; ///< the limit is the expected value
};

inline void print(const Figure& figure) {
    const bool within = figure.exact ? figure.value == figure.limit : figure.value <= figure.limit;
    std::printf("%s\t%.4g %s\t%s%.4g %s\t%s\t%s\n", figure.name.c_str(), figure.value,
                figure.unit.c_str(), figure.exact ? "just " : "at most ", figure.limit,
                figure.unit.c_str(), within ? "within" : "MISSED", figure.remark.c_str());
}

inline double median(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

} // namespace zav::bench
