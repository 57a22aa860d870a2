// SPDX-License-Identifier: MIT
#include "zavinfo/loss.h"
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

Mark mark_of(LossKind kind) {
    return kind == LossKind::data || kind == LossKind::gone ? Mark::bad
           : kind == LossKind::unknown                      ? Mark::unknown
           : kind == LossKind::guard                        ? Mark::good
                                                            : Mark::idle;
}

/// What is known of a disk itself.
Html about(const zav_disk& disk) {
    std::vector<std::string> texts;
    const auto add = [&texts](const char* name, const std::string& value) {
        if (!value.empty()) {
            texts.push_back(name + value);
        }
    };
    add("", disk.size_bytes != 0 ? size_text(disk.size_bytes) : "");
    add("model ", plain(disk.model));
    add("serial number ", plain(disk.serial));
    add("", disk.temperature_c != ZAV_UNKNOWN ? std::to_string(disk.temperature_c) + " °C" : "");
    add("self-assessment (SMART) ",
        disk.smart == ZAV_VERDICT_UNKNOWN ? "not known" : std::string(zav::name(disk.smart)));
    return escaped(joined(texts, ", "));
}

/// "Pools: films, music", as a list.
template <class Record, class Name>
Html lost(const char* what, std::span<const Record> records, const std::set<std::size_t>& indices,
          Name name) {
    if (indices.empty()) {
        return {};
    }
    std::vector<std::string> names;
    for (const std::size_t index : indices) {
        names.emplace_back(name(records[index]));
    }
    return fill(templates::lost, {{"what", escaped(what)}, {"names", names_html(names)}});
}

Html lost_by(const zav::View& view, const Loss& loss) {
    Html all =
        lost("Arrays", view.arrays, loss.arrays, [](const auto& array) { return array.name; });
    all += lost("Groups", view.groups, loss.groups, [](const auto& group) { return group.name; });
    all += lost("Pools", view.pools, loss.pools, [](const auto& pool) { return pool.path; });
    all += lost("File systems", view.filesystems, loss.filesystems,
                [](const auto& filesystem) { return filesystem.mount_point; });
    all += lost("Shares", view.shares, loss.shares, [](const auto& share) { return share.name; });
    return all.empty() ? all : fill(templates::lost_list, {{"items", all}});
}

Html disk_html(const zav::View& view, std::size_t index) {
    const zav_disk& disk = view.disks[index];
    const Loss loss = loss_of(view, index);
    Html reasons;
    for (const std::string& reason : loss.reasons) {
        reasons += fill(templates::paragraph, {{"text", escaped(reason)}});
    }
    return fill(templates::disk,
                {{"mark", mark_class(mark_of(loss.kind))},
                 {"bay", escaped("Bay" + bay_text(disk).substr(3))},
                 {"name", name_html(disk.name)},
                 {"badge", badge(state_of(view, disk))},
                 {"loss", escaped("If it failed now: " + loss_summary(loss) + ".")},
                 {"about", about(disk)},
                 {"reasons", reasons},
                 {"lost", lost_by(view, loss)}});
}

Html members_html(const zav::View& view, const zav_array& array) {
    std::vector<std::string> names;
    for (const zav_member& member : zav::members(array)) {
        const zav_disk* disk = zav::follow(view.disks, member.disk);
        const std::string name =
            disk != nullptr ? bay_text(*disk) + (*member.name != '\0' ? " " : "") : std::string();
        const std::string state = member.state == ZAV_MEMBER_ACTIVE
                                      ? ""
                                      : " (" + std::string(zav::name(member.state)) + ")";
        names.push_back(name + member.name + state);
    }
    return names_html(names);
}

Row array_row(const zav::View& view, const zav_array& array) {
    Html state = badge(state_of(array));
    if (array.rebuild.is_running != 0 && array.rebuild.seconds_left >= 0) {
        state += escaped(", " + duration_text(array.rebuild.seconds_left) + " left");
    }
    const zav_group* group = zav::follow(view.groups, array.group);
    return {name_html(array.name),     state,
            escaped(array.level),      escaped(size_text(array.size_bytes)),
            members_html(view, array), group != nullptr ? name_html(group->name) : Html()};
}

Html use_html(Mark mark, std::uint64_t used, std::uint64_t size) {
    const double percent = percent_of(used, size);
    constexpr double whole = 100;
    Html use =
        fill(templates::bar, {{"mark", mark_class(mark)},
                              {"percent", escaped(rounded_text(std::min(percent, whole), 0))}});
    use += escaped(rounded_text(percent, 0) + " % of " + size_text(size));
    return use;
}

Row group_row(const zav_group& group) {
    const std::uint64_t used = std::min(group.used_bytes, group.size_bytes);
    return {name_html(group.name), use_html(Mark::good, used, group.size_bytes),
            escaped(size_text(group.size_bytes - used)),
            escaped(std::to_string(group.pools.count))};
}

Row filesystem_row(const zav::View& view, const zav_filesystem& filesystem, const Limits& limits) {
    const State state = state_of(filesystem, limits);
    const bool is_measured = filesystem.state == ZAV_FILESYSTEM_AVAILABLE;
    const zav_pool* pool = zav::follow(view.pools, filesystem.pool);
    return {name_html(filesystem.mount_point),
            badge(is_measured && state.mark == Mark::good ? State{Mark::good, "mounted"} : state),
            is_measured ? use_html(state.mark, filesystem.used_bytes, filesystem.size_bytes)
                        : escaped(size_text(filesystem.size_bytes) + ", use not known"),
            is_measured ? escaped(size_text(filesystem.size_bytes -
                                            std::min(filesystem.used_bytes, filesystem.size_bytes)))
                        : Html(),
            filesystem.is_netdisk != 0 ? escaped("network disk " + plain(filesystem.name))
            : pool != nullptr          ? name_html(pool->path)
                                       : escaped("no known pool"),
            escaped(filesystem.type)};
}

} // namespace

Html disks_section(const zav::View& view) {
    if (view.disks.empty()) {
        return none("No disk was found.");
    }
    std::vector<std::size_t> order;
    for (std::size_t at = 0; at < view.disks.size(); ++at) {
        order.push_back(at);
    }
    std::ranges::stable_sort(order, {}, [&view](std::size_t at) {
        return std::pair(std::string(view.disks[at].device), view.disks[at].channel);
    });
    Html disks = fill(templates::faint_paragraph,
                      {{"text", escaped("Open a disk for what it is and what lies on it.")}});
    for (const std::size_t index : order) {
        disks += disk_html(view, index);
    }
    return disks;
}

Html arrays_section(const zav::View& view) {
    std::vector<Row> arrays;
    for (const zav_array& array : view.arrays) {
        arrays.push_back(array_row(view, array));
    }
    std::vector<Row> groups;
    for (const zav_group& group : view.groups) {
        groups.push_back(group_row(group));
    }
    Html html = arrays.empty()
                    ? none("There is no array.")
                    : table_html("Arrays, and the disks that they are made of",
                                 {"Array", "State", "Level", "Size", "Members", "Group"}, arrays);
    html += groups.empty() ? none("There is no volume group.")
                           : table_html("Volume groups, and what pools take of them",
                                        {"Group", "Used", "Free", "Pools"}, groups);
    return html;
}

Html space_section(const zav::View& view, const Limits& limits) {
    std::vector<Row> rows;
    for (const zav_filesystem& filesystem : view.filesystems) {
        rows.push_back(filesystem_row(view, filesystem, limits));
    }
    return rows.empty()
               ? none("There is no file system.")
               : table_html("File systems on pools and on network disks",
                            {"Mounted on", "State", "Used", "Free", "Lies on", "Type"}, rows);
}

} // namespace zavinfo
