// SPDX-License-Identifier: MIT
#include "zavinfo/names.h"
#include "zavinfo/page_parts.h"
#include "zavinfo/page_sections.h"
#include "zavinfo/page_templates.h"
#include "zavinfo/text.h"

#include <algorithm>

namespace zavinfo {

namespace {

Html none(std::string_view text) {
    return fill(templates::paragraph, {{"text", escaped(text)}});
}

Row share_row(const zav::View& view, const zav_share& share) {
    std::vector<std::string> bays;
    for (const std::uint32_t index : zav::items(share.disks)) {
        bays.push_back(bay_text(view.disks[index]));
    }
    const std::vector<std::string> users = words(share.users, ", ");
    return {name_html(share.name),
            badge(state_of(view, share)),
            escaped(joined(services_of(share), ", ")),
            escaped(share.is_read_only != 0 ? "read only" : "read and write"),
            users.empty() ? escaped("everybody") : names_html(users),
            name_html(share.path),
            names_html(bays),
            name_html(share.comment)};
}

Row service_row(const zav::View& view, const zav_service& service) {
    const auto shares = std::ranges::count_if(view.shares, [&service](const zav_share& share) {
        return is_offered(share) && share.service == service.kind;
    });
    const bool serves = service.kind != ZAV_SERVICE_MANAGEMENT;
    State state = state_of(service);
    state.mark = service.running == ZAV_STOPPED && shares != 0 ? Mark::bad : state.mark;
    return {name_html(service.name), badge(state),
            escaped(serves ? std::to_string(shares) : "serves none")};
}

void add_fact(Html& rows, const char* name, const std::string& value) {
    if (!value.empty()) {
        rows += fill(templates::fact, {{"name", escaped(name)}, {"value", escaped(value)}});
    }
}

std::string percent_text(double percent) {
    return percent >= 0 ? rounded_text(percent, 0) + " %" : "";
}

} // namespace

Html shares_section(const zav::View& view) {
    std::vector<Row> rows;
    for (const zav_share& share : view.shares) {
        rows.push_back(share_row(view, share));
    }
    return rows.empty() ? none("There is no share.")
                        : table_html("Shares, who may use them, and where they lie",
                                     {"Share", "State", "Service", "Access", "Users or hosts",
                                      "Path", "Disks", "Comment"},
                                     rows);
}

Html services_section(const zav::View& view) {
    std::vector<Row> rows;
    for (const zav_service& service : view.services) {
        rows.push_back(service_row(view, service));
    }
    return rows.empty() ? none("No service is known.")
                        : table_html("Services, and how many shares they offer",
                                     {"Service", "State", "Shares"}, rows);
}

Html appliance_section(const zav::View& view) {
    if (view.health == nullptr) {
        return none("It was not asked.");
    }
    const zav_health& health = *view.health;
    Html rows;
    add_fact(rows, "Model", plain(health.model));
    add_fact(rows, "Software", plain(health.software_version));
    add_fact(rows, "Hardware", plain(health.hardware_version));
    add_fact(rows, "Started", plain(health.start_time));
    add_fact(rows, "Temperature",
             health.temperature_c != ZAV_UNKNOWN ? std::to_string(health.temperature_c) + " °C"
                                                 : "");
    for (const Fan& fan : fans_of(health.fans)) {
        add_fact(rows, ("Speed of " + plain(fan.name)).c_str(),
                 std::to_string(fan.rpm) + " turns a minute");
    }
    add_fact(rows, "Power supplies", plain(health.power));
    add_fact(rows, "Memory in use", percent_text(health.memory_percent));
    add_fact(rows, "Processor in use", percent_text(health.processor_percent));
    return rows.empty() ? none("Nothing is known of the appliance itself.")
                        : fill(templates::facts, {{"rows", rows}});
}

Html errors_section(const std::vector<LoggedError>& errors) {
    if (errors.empty()) {
        return none(std::string("The end of ") + log_path + " has none.");
    }
    Html items;
    for (const LoggedError& error : errors) {
        items +=
            fill(templates::logged_error,
                 {{"time", escaped(error.time)},
                  {"count", escaped(error.count > 1 ? ", " + std::to_string(error.count) +
                                                          " times in succession"
                                                    : "")},
                  {"text", escaped(error.text)},
                  {"advice", error.advice.empty()
                                 ? Html()
                                 : fill(templates::advice, {{"text", words_html(error.advice)}})}});
    }
    Html html = fill(templates::faint_paragraph,
                     {{"text", escaped(std::string("From ") + log_path +
                                       ", the latest first. What they led to may be mended long "
                                       "since.")}});
    html += fill(templates::findings, {{"items", items}});
    return html;
}

} // namespace zavinfo
