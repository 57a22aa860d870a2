// SPDX-License-Identifier: MIT
#include "log_lines.h"

#include <cstdlib>
#include <regex>

namespace zav::test {
namespace {

const std::regex& head_pattern() {
    static const std::regex pattern("^([A-Z][a-z]{2} [ 0-9][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2}) "
                                    "([0-9]+(?:\\.[0-9]+)*) ");
    return pattern;
}

// Prefix "ERROR name[pid]:"; the name may hold anything but a newline.
const std::regex& prefix_pattern() {
    static const std::regex pattern("^(ERROR|debug) ([^\\n]*?)\\[(-?[0-9]+)\\]:");
    return pattern;
}

LogLine parsed(const std::string& raw, const std::smatch& head) {
    LogLine line;
    line.stamp = head[1];
    line.version = head[2];
    line.raw = raw;
    line.text = raw.substr(static_cast<size_t>(head.length(0)));
    std::smatch prefix;
    if (std::regex_search(line.text, prefix, prefix_pattern())) {
        line.level = prefix[1];
        line.process = prefix[2];
        line.pid = std::atoi(prefix[3].str().c_str());
        line.text = prefix.suffix();
    }
    line.text.erase(line.text.find_last_not_of('\n') + 1);
    return line;
}

} // namespace

std::vector<LogLine> log_lines(std::string_view content) {
    std::vector<std::string> messages;
    while (!content.empty()) {
        const size_t end = content.find('\n');
        const std::string line(content.substr(0, end == content.npos ? content.npos : end + 1));
        content.remove_prefix(line.size());
        if (messages.empty() || std::regex_search(line, head_pattern())) {
            messages.emplace_back();
        }
        messages.back() += line;
    }
    std::vector<LogLine> lines;
    for (const std::string& message : messages) {
        std::smatch head;
        if (std::regex_search(message, head, head_pattern())) {
            lines.push_back(parsed(message, head));
        } else {
            lines.push_back({{}, {}, {}, {}, 0, message, message});
        }
    }
    return lines;
}

} // namespace zav::test
