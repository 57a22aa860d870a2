// SPDX-License-Identifier: MIT
/// \file
/// /proc/mdstat: the arrays that the kernel runs, and their rebuilds.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zav {

/// The captured output's path.
inline constexpr const char* mdstat_path = "/proc/mdstat";
inline constexpr char mdstat_command[] = "cat /proc/mdstat > %s";

/// The names of the arrays.
std::vector<std::string> parse_mdstat_names(std::string_view mdstat);

/// Whether a line begins with that array's name.
bool mdstat_lists(std::string_view mdstat, std::string_view array);

/// How far a rebuild, or another pass over all of an array, is.
struct RebuildDetails {
    double done = 0;                ///< 0 to 1
    std::int64_t seconds_left = -1; ///< as the kernel estimates; -1 when it does not
};

/// The progress of the rebuilds under way, by array.
class RebuildProgress {
  public:
    explicit RebuildProgress(std::string_view mdstat);

    /// Such as 12.6%(12.00MB/s); empty when none is shown for the array.
    [[nodiscard]] std::string of(std::string_view array) const;

    /// The same as figures; nothing when none is shown, or it has not begun.
    [[nodiscard]] std::optional<RebuildDetails> details_of(std::string_view array) const;

  private:
    std::unordered_map<std::string_view, std::string_view> progress_lines_;
};

} // namespace zav
