// SPDX-License-Identifier: MIT
#include "zavinfo/page.h"

#include "zavinfo/map.h"
#include "zavinfo/page_parts.h"
#include "zavinfo/page_sections.h"
#include "zavinfo/page_style.h"
#include "zavinfo/page_templates.h"
#include "zavinfo/text.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace zavinfo {

namespace {

struct Section {
    const char* id;
    const char* title;
    Html body;
};

/// For people, or as a machine reads it.
std::string time_text(std::int64_t seconds, bool is_for_people) {
    const std::time_t time = seconds;
    std::tm parts = {};
    std::array<char, 64> text = {};
    if (::gmtime_r(&time, &parts) == nullptr) {
        return "an unknown time";
    }
    return {text.data(),
            is_for_people ? std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M UTC", &parts)
                          : std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string counted(std::ptrdiff_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

/// The whole in a few words.
State verdict_of(const zav::View& view, const std::vector<Finding>& findings) {
    const auto count = [&findings](Severity severity) {
        return std::ranges::count(findings, severity, &Finding::severity);
    };
    std::vector<std::string> counts;
    if (count(Severity::critical) != 0) {
        counts.push_back(
            counted(count(Severity::critical), "critical finding", "critical findings"));
    }
    if (count(Severity::warning) != 0) {
        counts.push_back(counted(count(Severity::warning), "warning", "warnings"));
    }
    if (count(Severity::unknown) != 0) {
        counts.push_back(counted(count(Severity::unknown), "thing not known", "things not known"));
    }
    if (!counts.empty()) {
        return {state_of(worst_of(findings)).mark, joined(counts, ", ")};
    }
    const bool is_empty = view.arrays.empty() && view.groups.empty() && view.shares.empty();
    return is_empty ? State{Mark::idle, "nothing is set up"} : State{Mark::good, "all is well"};
}

std::string with_capital(std::string text) {
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') {
        text[0] = static_cast<char>(text[0] - 'a' + 'A');
    }
    return text;
}

std::string host_of(const zav::View& view) {
    const bool is_named = view.health != nullptr && *view.health->host_name != '\0';
    return is_named ? plain(view.health->host_name) : "this appliance";
}

Html about(const zav::View& view) {
    std::vector<std::string> texts;
    if (view.health != nullptr && *view.health->model != '\0') {
        texts.push_back(plain(view.health->model));
    }
    const auto add = [&texts](std::size_t count, const char* one, const char* many) {
        texts.push_back(counted(static_cast<std::ptrdiff_t>(count), one, many));
    };
    add(view.disks.size(), "disk", "disks");
    add(view.arrays.size(), "array", "arrays");
    add(view.pools.size(), "pool", "pools");
    add(view.shares.size(), "share", "shares");
    return escaped(joined(texts, ", "));
}

Html frame(const zav::View& view, const PageContext& context, const State& verdict,
           const std::vector<Section>& sections) {
    Html links;
    Html bodies;
    for (const Section& section : sections) {
        links +=
            fill(templates::link, {{"id", escaped(section.id)}, {"title", escaped(section.title)}});
        bodies += fill(templates::section, {{"id", escaped(section.id)},
                                            {"title", escaped(section.title)},
                                            {"body", section.body}});
    }
    return fill(templates::page, {{"title", escaped("Storage of " + host_of(view))},
                                  {"heading", escaped("Storage of " + host_of(view))},
                                  {"about", about(view)},
                                  {"mark", mark_class(verdict.mark)},
                                  {"sign", sign_of(verdict.mark)},
                                  {"verdict", escaped(with_capital(verdict.text))},
                                  {"machine_time", escaped(time_text(context.taken_at, false))},
                                  {"time", escaped(time_text(context.taken_at, true))},
                                  {"style", Html::constant(templates::style)},
                                  {"links", links},
                                  {"sections", bodies},
                                  {"version", escaped(zav_version())}});
}

} // namespace

Html findings_section(const std::vector<Finding>& findings) {
    if (findings.empty()) {
        return fill(templates::paragraph, {{"text", escaped("Nothing. What zavinfo --check looks "
                                                            "at is as it should be.")}});
    }
    Html items;
    for (const Finding& finding : findings) {
        const State state = state_of(finding.severity);
        items +=
            fill(templates::finding,
                 {{"mark", mark_class(state.mark)},
                  {"badge", badge(state)},
                  {"text", escaped(with_capital(finding.text))},
                  {"advice", finding.advice.empty()
                                 ? Html()
                                 : fill(templates::advice,
                                        {{"text", words_html(with_capital(finding.advice))}})}});
    }
    return fill(templates::findings, {{"items", items}});
}

Html map_section(const zav::View& view, const Limits& limits) {
    const Html picture = map_picture(map_of(view, limits));
    if (picture.empty()) {
        return fill(templates::paragraph, {{"text", escaped("There is nothing to show: no disk, "
                                                            "no array, no pool, no share.")}});
    }
    return fill(
        templates::map,
        {{"picture", picture},
         {"key",
          escaped(
              "Read it from left to right: each box lies on those that lines lead to on its left. "
              "Tick: well. Triangle and dashed frame: warning. Cross and thick frame: bad. "
              "Diamond: not known. Ring: not in use. On a narrow screen it scrolls to the side.")},
         {"table", map_table(view)}});
}

std::string page_text(const zav::View& view, const PageContext& context) {
    const std::vector<Finding> findings = findings_of(view, context.limits);
    return frame(view, context, verdict_of(view, findings),
                 {{"findings", "What needs attention", findings_section(findings)},
                  {"map", "Storage map", map_section(view, context.limits)},
                  {"disks", "What a failed disk takes with it", disks_section(view)},
                  {"arrays", "Arrays and groups", arrays_section(view)},
                  {"space", "File systems", space_section(view, context.limits)},
                  {"shares", "Shares", shares_section(view)},
                  {"services", "Services", services_section(view)},
                  {"appliance", "Appliance", appliance_section(view)},
                  {"errors", "Last errors", errors_section(context.errors)}})
        .text();
}

} // namespace zavinfo
