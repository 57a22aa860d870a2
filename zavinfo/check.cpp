// SPDX-License-Identifier: MIT
#include "zavinfo/check.h"

#include "zavinfo/names.h"
#include "zavinfo/text.h"

#include <algorithm>
#include <array>

namespace zavinfo {

namespace {

/// More are only counted: one line is to be read at a glance.
constexpr std::size_t most_findings = 12;

/// What must not be in the text of a plug-in: a bar begins the performance data.
std::string without_bars(std::string text) {
    std::ranges::replace(text, '|', '/');
    return text;
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string summary_of(const zav::View& view) {
    return joined({counted(view.disks.size(), "disk", "disks"),
                   counted(view.arrays.size(), "array", "arrays"),
                   counted(view.pools.size(), "pool", "pools"),
                   counted(view.filesystems.size(), "file system", "file systems"),
                   counted(view.shares.size(), "share", "shares")},
                  ", ");
}

std::string text_of(const zav::View& view, const std::vector<Finding>& findings) {
    if (findings.empty()) {
        return summary_of(view);
    }
    std::vector<std::string> texts;
    for (const Finding& finding : findings) {
        if (texts.size() == most_findings) {
            texts.push_back("and " + std::to_string(findings.size() - most_findings) + " more");
            break;
        }
        texts.push_back(finding.text);
    }
    return joined(texts, "; ");
}

/// A label in single quotes, without "=", and with its own quotes doubled.
std::string label(std::string_view text) {
    std::string quoted = "'";
    for (const char character : plain(text)) {
        quoted += character == '=' || character == '|' ? '_' : character;
        quoted += character == '\'' ? "'" : "";
    }
    return quoted + "'";
}

template <class Record, class Predicate>
std::string count_datum(const char* name, std::span<const Record> records, Predicate is_counted) {
    return label(name) + "=" + std::to_string(std::ranges::count_if(records, is_counted)) +
           ";;;0;" + std::to_string(records.size());
}

std::string use_datum(const zav_filesystem& filesystem, const Limits& limits) {
    const auto limit = [&filesystem](double percent) {
        constexpr double hundred = 100;
        return rounded_text(static_cast<double>(filesystem.size_bytes) * percent / hundred, 0);
    };
    return label(filesystem.mount_point) + "=" + std::to_string(filesystem.used_bytes) + "B;" +
           limit(limits.warning) + ";" + limit(limits.critical) + ";0;" +
           std::to_string(filesystem.size_bytes);
}

std::vector<std::string> performance_data(const zav::View& view, const Limits& limits) {
    std::vector<std::string> data = {
        count_datum("disks_failing", view.disks,
                    [](const zav_disk& disk) { return disk.smart == ZAV_VERDICT_FAILED; }),
        count_datum("arrays_degraded", view.arrays,
                    [](const zav_array& array) { return array.state == ZAV_ARRAY_DEGRADED; }),
        count_datum("arrays_rebuilding", view.arrays,
                    [](const zav_array& array) { return array.state == ZAV_ARRAY_REBUILDING; }),
        count_datum("arrays_lost", view.arrays,
                    [](const zav_array& array) { return array.state == ZAV_ARRAY_INACTIVE; }),
        count_datum("shares_out_of_reach", view.shares, [&view](const zav_share& share) {
            return is_offered(share) && !is_reachable(view, share);
        })};
    for (const zav_disk& disk : view.disks) {
        if (disk.temperature_c != ZAV_UNKNOWN) {
            data.push_back(label(id_of(disk) + "_celsius") + "=" +
                           std::to_string(disk.temperature_c));
        }
    }
    for (const zav_filesystem& filesystem : view.filesystems) {
        if (filesystem.state == ZAV_FILESYSTEM_AVAILABLE) {
            data.push_back(use_datum(filesystem, limits));
        }
    }
    return data;
}

} // namespace

CheckResult check(const zav::View& view, const Limits& limits) {
    constexpr std::array<const char*, 4> words_of_status = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
    const std::vector<Finding> findings = findings_of(view, limits);
    const int status = plugin_status(worst_of(findings));
    return {status, std::string("ZAV ") + words_of_status[static_cast<std::size_t>(status)] +
                        " - " + without_bars(text_of(view, findings)) + " | " +
                        joined(performance_data(view, limits), " ") + "\n"};
}

CheckResult check_failure(std::string_view reason) {
    return {plugin_status(Severity::unknown),
            "ZAV UNKNOWN - " + without_bars(plain(reason)) + "\n"};
}

} // namespace zavinfo
