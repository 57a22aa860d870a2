// SPDX-License-Identifier: MIT
#include "zavinfo/metric_family.h"

#include "zavinfo/text.h"

namespace zavinfo {

namespace {

std::string escaped(std::string_view value) {
    std::string text;
    for (const char character : plain(value)) {
        if (character == '\\' || character == '"') {
            text += '\\';
        }
        text += character;
    }
    return text;
}

std::string labels_text(const Labels& labels) {
    std::string text;
    for (const Label& label : labels) {
        text.append(text.empty() ? "{" : ",").append(label.name).append("=\"");
        text.append(escaped(label.value)).append("\"");
    }
    return text.empty() ? text : text + "}";
}

} // namespace

void MetricFamily::add(const Labels& labels, double value) {
    add_text(labels, number_text(value));
}

void MetricFamily::add(const Labels& labels, std::uint64_t value) {
    add_text(labels, std::to_string(value));
}

void MetricFamily::add_text(const Labels& labels, const std::string& value) {
    if (seen_.empty()) {
        out_.append("# TYPE ").append(name_).append(" gauge\n");
        if (!unit_.empty()) {
            out_.append("# UNIT ").append(name_).append(" ").append(unit_).append("\n");
        }
        out_.append("# HELP ").append(name_).append(" ").append(help_).append("\n");
    }
    const std::string labelled = name_ + labels_text(labels);
    if (seen_.insert(labelled).second) {
        out_.append(labelled).append(" ").append(value).append("\n");
    }
}

} // namespace zavinfo
