// SPDX-License-Identifier: MIT
#include "zavinfo/options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <getopt.h>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace zavinfo {

namespace {

enum Key {
    key_json = 256,
    key_check,
    key_metrics,
    key_page,
    key_preflight,
    key_explain,
    key_watch,
    key_no_smart,
    key_timeout,
    key_version,
};

// An output that is added gets its key, its row, a case in take(), and one in main.cpp.
constexpr std::array<option, 14> long_options = {
    {{"json", no_argument, nullptr, key_json},
     {"check", no_argument, nullptr, key_check},
     {"metrics", no_argument, nullptr, key_metrics},
     {"page", required_argument, nullptr, key_page},
     {"preflight", no_argument, nullptr, key_preflight},
     {"explain", required_argument, nullptr, key_explain},
     {"watch", optional_argument, nullptr, key_watch},
     {"no-smart", no_argument, nullptr, key_no_smart},
     {"timeout", required_argument, nullptr, key_timeout},
     {"warning", required_argument, nullptr, 'w'},
     {"critical", required_argument, nullptr, 'c'},
     {"help", no_argument, nullptr, 'h'},
     {"version", no_argument, nullptr, key_version},
     {}}};

constexpr int longest_time = 86400;

std::optional<int> number_up_to(int most, std::string_view text) {
    int number = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    const bool is_good = read.ec == std::errc() && read.ptr == end && number >= 0 && number <= most;
    return is_good ? std::optional(number) : std::nullopt;
}

void take_percent(double& limit, const char* text, Options& options) {
    constexpr int hundred = 100;
    if (const auto percent = number_up_to(hundred, text)) {
        limit = *percent;
    } else {
        options.fault = std::string("'") + text + "' is no percentage";
    }
}

void take_seconds(std::chrono::seconds& time, int least, const char* text, Options& options) {
    const auto seconds = number_up_to(longest_time, text);
    if (seconds && *seconds >= least) {
        time = std::chrono::seconds(*seconds);
    } else {
        options.fault = std::string("'") + text + "' is no number of seconds";
    }
}

void take(int key, Options& options) {
    switch (key) {
    case key_json:
        options.is_json = true;
        return;
    case key_check:
        options.output = Output::check;
        return;
    case key_metrics:
        options.output = Output::metrics;
        return;
    case key_page:
        options.output = Output::page;
        options.path = optarg;
        return;
    case key_preflight:
        options.output = Output::preflight;
        return;
    case key_explain:
        options.output = Output::explain;
        options.code = optarg;
        return;
    case key_watch:
        options.is_watching = true;
        options.asks_disks = false; // they would never sleep
        if (optarg != nullptr) {
            take_seconds(options.interval, 1, optarg, options);
        }
        return;
    case key_no_smart:
        options.asks_disks = false;
        return;
    case key_timeout:
        return take_seconds(options.time_limit, 0, optarg, options);
    case 'w':
        return take_percent(options.limits.warning, optarg, options);
    case 'c':
        return take_percent(options.limits.critical, optarg, options);
    case 'h':
        options.output = Output::help;
        return;
    case key_version:
        options.output = Output::version;
        return;
    default:
        options.fault = "the options are not understood";
    }
}

void take_parts(int count, char* const* arguments, Options& options) {
    if (count != 0 && options.output != Output::json) {
        options.fault = std::string("'") + arguments[0] + "' belongs to no option";
        return;
    }
    options.parts = count != 0 ? Parts{} : all_parts();
    for (int at = 0; at < count; ++at) {
        const auto* part =
            std::ranges::find(part_names, std::string_view(arguments[at]), &PartName::name);
        if (part == part_names.end()) {
            options.fault = std::string("there is no part '") + arguments[at] + "'";
            return;
        }
        options.parts.insert(part->part);
    }
}

bool go_together(const std::set<int>& outputs, const Options& options) {
    const bool is_told_as_json =
        options.output == Output::json || options.output == Output::preflight;
    return outputs.size() <= 1 && (!options.is_watching || options.output == Output::tree) &&
           (!options.is_json || is_told_as_json);
}

/// A fault is told with the statuses of what was asked for, wherever in the line the fault is.
void keep_statuses(const std::vector<std::string_view>& words, Options& options) {
    for (const auto& [word, output] :
         {std::pair("--check", Output::check), std::pair("--preflight", Output::preflight)}) {
        if (std::ranges::find(words, word) != words.end()) {
            options.output = output;
        }
    }
}

} // namespace

Options parse_options(int count, char* const* arguments) {
    Options options;
    opterr = 0; // the fault is told by whoever asked
    optind = 0; // anew
    std::set<int> outputs;
    while (options.fault.empty()) {
        const int key = getopt_long(count, arguments, "w:c:h", long_options.data(), nullptr);
        if (key == -1) {
            break;
        }
        if (key > key_json && key <= key_explain) {
            outputs.insert(key);
        }
        const bool ends = key == 'h' || key == key_version;
        take(key, options);
        if (ends) {
            return options;
        }
    }
    // As JSON there are the parts and what --preflight finds.
    if (options.is_json && options.output == Output::tree) {
        options.output = Output::json;
    }
    if (options.fault.empty()) {
        take_parts(count - optind, arguments + optind, options);
    }
    if (options.fault.empty() && !go_together(outputs, options)) {
        options.fault = "these options do not go together";
    }
    if (!options.fault.empty()) {
        keep_statuses({arguments, arguments + count}, options);
    }
    return options;
}

std::string usage_text() {
    return "Usage: zavinfo [OPTION]...\n"
           "       zavinfo --json [PART]...\n"
           "       zavinfo --page FILE\n"
           "       zavinfo --preflight [--json]\n"
           "       zavinfo --explain CODE|STATUS|NAME\n"
           "Tells what the appliance's storage consists of and how it is. Changes nothing.\n"
           "\n"
           "      --json             as JSON; of PART disks, arrays, groups, pools, filesystems,\n"
           "                         netdisks, shares, services or health alone\n"
           "      --check            as a monitoring plug-in: one line, status 0, 1, 2 or 3\n"
           "      --metrics          as OpenMetrics text\n"
           "      --page FILE        as a page for people: one HTML file, which replaces FILE\n"
           "      --preflight        what the commands need here, what of it is missing, and the\n"
           "                         remedy; also as JSON\n"
           "      --explain CODE     what a code, the exit status it becomes, or its name means\n"
           "      --watch[=SECONDS]  the tree again and again, every 2 seconds; without SMART\n"
           "      --no-smart         ask no disk for its health: disks that sleep go on sleeping\n"
           "  -w, --warning PERCENT  a file system that is so full is worth a warning (90)\n"
           "  -c, --critical PERCENT a file system that is so full is critical (97)\n"
           "      --timeout SECONDS  for each outside command; 0 for none (30)\n"
           "  -h, --help\n"
           "      --version\n";
}

} // namespace zavinfo
