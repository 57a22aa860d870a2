// SPDX-License-Identifier: MIT
/// \file
/// One family of metrics as text.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zavinfo {

struct Label {
    std::string_view name;
    std::string value;
};
using Labels = std::vector<Label>;

/// A gauge. Its name ends in its unit, if it has one. Without samples nothing is written.
class MetricFamily {
  public:
    MetricFamily(std::string& out, std::string_view name, std::string_view unit,
                 std::string_view help)
        : out_(out), name_(name), unit_(unit), help_(help) {}

    /// Of samples with the same labels only the first counts: the format has no others.
    void add(const Labels& labels, double value);
    void add(const Labels& labels, std::uint64_t value);
    void add(const Labels& labels, bool value) { add(labels, std::uint64_t{value}); }

  private:
    void add_text(const Labels& labels, const std::string& value);

    std::string& out_;
    std::string name_;
    std::string unit_;
    std::string help_;
    std::set<std::string> seen_;
};

} // namespace zavinfo
