// SPDX-License-Identifier: MIT
#include "zavinfo/tree.h"

#include "zavinfo/branches.h"
#include "zavinfo/names.h"
#include "zavinfo/text.h"

#include <algorithm>
#include <limits>

namespace zavinfo {

namespace {

constexpr double hundred = 100;

struct Tree {
    const zav::View& view;
    Look look;
    Limits limits;
};

/// Fields of a line, two blanks apart. Empty ones are left out.
class Line {
  public:
    Line& add(std::string_view field) {
        if (!field.empty()) {
            text_.append(text_.empty() ? "" : "  ").append(field);
        }
        return *this;
    }
    [[nodiscard]] const std::string& text() const { return text_; }

  private:
    std::string text_;
};

std::string head(const Tree& tree, const char* kind, std::string_view name) {
    return std::string(kind) + " " + coloured(plain(name), Colour::strong, tree.look);
}

std::string temperature(std::int32_t degrees) {
    return degrees != ZAV_UNKNOWN ? std::to_string(degrees) + " C" : "";
}

std::string disk_state(const Tree& tree, const zav_disk& disk) {
    return coloured(disk.state == ZAV_DISK_OTHER ? plain(disk.state_text)
                                                 : std::string(zav::name(disk.state)),
                    disk.state == ZAV_DISK_RUNNING   ? Colour::good
                    : disk.state == ZAV_DISK_OFFLINE ? Colour::bad
                                                     : Colour::doubtful,
                    tree.look);
}

std::string smart_text(const Tree& tree, const zav_disk& disk) {
    return disk.smart == ZAV_VERDICT_FAILED   ? coloured("SMART failed", Colour::bad, tree.look)
           : disk.smart == ZAV_VERDICT_PASSED ? coloured("SMART passed", Colour::good, tree.look)
                                              : "";
}

/// A box's disks are told apart from those on the main controller.
std::string slot_text(const zav_disk& disk) {
    const std::string_view device = disk.device;
    const std::string slot = "slot " + std::to_string(disk.channel);
    return device == "0" || device.empty() ? slot : slot + " of device " + plain(device);
}

Branch disk_branch(const Tree& tree, const zav_disk& disk, std::string_view role = "") {
    return {Line()
                .add(slot_text(disk))
                .add(coloured(plain(disk.name), Colour::strong, tree.look))
                .add(disk.size_bytes != 0 ? size_text(disk.size_bytes) : "")
                .add(plain(disk.model))
                .add(disk_state(tree, disk))
                .add(smart_text(tree, disk))
                .add(temperature(disk.temperature_c))
                .add(role)
                .text()};
}

Colour colour_of(zav_array_state state) {
    return state == ZAV_ARRAY_CLEAN        ? Colour::good
           : state == ZAV_ARRAY_REBUILDING ? Colour::doubtful
                                           : Colour::bad;
}

std::string member_role(const Tree& tree, const zav_member& member) {
    const std::string_view role = zav::name(member.state);
    return member.state == ZAV_MEMBER_ACTIVE ? ""
           : member.state == ZAV_MEMBER_FAULTY || member.state == ZAV_MEMBER_MISSING
               ? coloured(role, Colour::bad, tree.look)
               : coloured(role, Colour::doubtful, tree.look);
}

Branch member_branch(const Tree& tree, const zav_member& member) {
    const zav_disk* disk = zav::follow(tree.view.disks, member.disk);
    const std::string role = member_role(tree, member);
    if (disk != nullptr) {
        return disk_branch(tree, *disk, role);
    }
    return {Line().add("no disk").add(plain(member.name)).add(role).text()};
}

std::string rebuild_text(const Tree& tree, const zav_rebuild& rebuild) {
    if (rebuild.is_running == 0) {
        return "";
    }
    return Line()
        .add(bar(rebuild.done, tree.look))
        .add(rounded_text(rebuild.done * hundred, 1) + " %")
        .add(rebuild.seconds_left >= 0 ? duration_text(rebuild.seconds_left) + " left" : "")
        .text();
}

Branch array_branch(const Tree& tree, const zav_array& array) {
    Branch branch{Line()
                      .add(head(tree, "array", array.name))
                      .add(plain(array.level))
                      .add(size_text(array.size_bytes))
                      .add(coloured(zav::name(array.state), colour_of(array.state), tree.look))
                      .add(rebuild_text(tree, array.rebuild))
                      .text()};
    // By slot of the appliance; members without a disk come last.
    const auto members = zav::members(array);
    std::vector<zav_member> sorted(members.begin(), members.end());
    std::ranges::stable_sort(sorted, {}, [&tree](const zav_member& member) {
        const zav_disk* disk = zav::follow(tree.view.disks, member.disk);
        return disk != nullptr
                   ? std::pair(std::string(disk->device), disk->channel)
                   : std::pair(std::string("~"), std::numeric_limits<std::int32_t>::max());
    });
    for (const zav_member& member : sorted) {
        branch.branches.push_back(member_branch(tree, member));
    }
    return branch;
}

std::string share_state(const Tree& tree, const zav_share& share) {
    if (share.state == ZAV_SHARE_FORBIDDEN) {
        return coloured("forbidden", Colour::faint, tree.look);
    }
    if (share.state == ZAV_SHARE_NOT_SERVED) {
        return coloured("not served", Colour::bad, tree.look);
    }
    if (share.state == ZAV_SHARE_NOT_REGISTERED) {
        return coloured("not registered", Colour::doubtful, tree.look);
    }
    return is_reachable(tree.view, share) ? coloured("served", Colour::good, tree.look)
           : share.is_mounted == 0        ? coloured("not mounted", Colour::bad, tree.look)
                                          : coloured("service stopped", Colour::bad, tree.look);
}

Branch share_branch(const Tree& tree, const zav_share& share) {
    return {Line()
                .add(head(tree, "share", share.name))
                .add(joined(services_of(share), ", "))
                .add(share_state(tree, share))
                .add(share.is_read_only != 0 ? "read-only" : "")
                .add(plain(share.comment))
                .text()};
}

std::string use_text(const Tree& tree, const zav_filesystem& filesystem) {
    if (filesystem.state != ZAV_FILESYSTEM_AVAILABLE) {
        return coloured(filesystem.state == ZAV_FILESYSTEM_UNMOUNTED ? "not mounted"
                                                                     : "cannot be used",
                        Colour::bad, tree.look);
    }
    const double percent = percent_of(filesystem.used_bytes, filesystem.size_bytes);
    const Colour colour = percent >= tree.limits.critical  ? Colour::bad
                          : percent >= tree.limits.warning ? Colour::doubtful
                                                           : Colour::good;
    return coloured(bar(percent / hundred, tree.look), colour, tree.look) + " " +
           rounded_text(percent, 0) + " % of " + size_text(filesystem.size_bytes);
}

Branch filesystem_branch(const Tree& tree, const zav_filesystem& filesystem) {
    const bool is_netdisk = filesystem.is_netdisk != 0;
    Branch branch{Line()
                      .add(is_netdisk ? head(tree, "network disk", filesystem.name)
                                      : head(tree, "file system", filesystem.mount_point))
                      .add(is_netdisk ? plain(filesystem.mount_point) : "")
                      .add(plain(filesystem.type))
                      .add(use_text(tree, filesystem))
                      .text()};
    for (const std::uint32_t index : zav::items(filesystem.shares)) {
        branch.branches.push_back(share_branch(tree, tree.view.shares[index]));
    }
    return branch;
}

Branch pool_branch(const Tree& tree, const zav_pool& pool) {
    Branch branch{
        Line()
            .add(head(tree, "pool", pool.name))
            .add(size_text(pool.size_bytes))
            .add(pool.is_available != 0 ? "" : coloured("switched off", Colour::bad, tree.look))
            .text()};
    const zav_filesystem* filesystem = zav::follow(tree.view.filesystems, pool.filesystem);
    if (filesystem != nullptr) {
        branch.branches.push_back(filesystem_branch(tree, *filesystem));
    }
    for (const std::uint32_t index : zav::items(pool.shares)) {
        const zav_share& share = tree.view.shares[index];
        if (filesystem == nullptr || share.filesystem != pool.filesystem) {
            branch.branches.push_back(share_branch(tree, share));
        }
    }
    return branch;
}

Branch group_branch(const Tree& tree, const zav_group& group) {
    Branch branch{
        Line()
            .add(head(tree, "group", group.name))
            .add(size_text(group.size_bytes))
            .add(size_text(group.size_bytes - std::min(group.used_bytes, group.size_bytes)) +
                 " free")
            .text()};
    for (const std::uint32_t index : zav::items(group.pools)) {
        branch.branches.push_back(pool_branch(tree, tree.view.pools[index]));
    }
    for (const zav_volume& volume : zav::volumes(group)) {
        const zav_array* array = zav::follow(tree.view.arrays, volume.array);
        const zav_disk* disk = zav::follow(tree.view.disks, volume.disk);
        branch.branches.push_back(array != nullptr  ? array_branch(tree, *array)
                                  : disk != nullptr ? disk_branch(tree, *disk)
                                                    : Branch{head(tree, "volume", volume.name)});
    }
    return branch;
}

/// Records that nothing above leads to, below a heading.
template <class Record, class Predicate, class Maker>
void add_rest(std::vector<Branch>& roots, const char* heading, const Tree& tree,
              std::span<const Record> records, Predicate is_meant, Maker make) {
    Branch rest{heading};
    for (const Record& record : records) {
        if (is_meant(record)) {
            rest.branches.push_back(make(tree, record));
        }
    }
    if (!rest.branches.empty()) {
        roots.push_back(std::move(rest));
    }
}

Branch free_disk(const Tree& tree, const zav_disk& disk) {
    return disk_branch(tree, disk, disk.is_hotspare != 0 ? "hot spare" : "");
}

Branch service_branch(const Tree& tree, const zav_service& service) {
    return {Line()
                .add(plain(service.name))
                .add(coloured(zav::name(service.running),
                              service.running == ZAV_RUNNING ? Colour::good : Colour::doubtful,
                              tree.look))
                .text()};
}

Branch failure_branch(const Tree&, const zav_failure& failure) {
    return {Line()
                .add(failure.part)
                .add(std::to_string(failure.code))
                .add(plain(failure.sentence))
                .add(plain(failure.command))
                .text()};
}

/// The roots, in the order in which they are shown.
std::vector<Branch> roots_of(const Tree& tree) {
    const zav::View& view = tree.view;
    const auto always = [](const auto&) { return true; };
    std::vector<Branch> roots;
    for (const zav_group& group : view.groups) {
        roots.push_back(group_branch(tree, group));
    }
    add_rest(
        roots, "Arrays without a group", tree, view.arrays,
        [](const zav_array& array) { return array.group == ZAV_NONE; }, array_branch);
    add_rest(
        roots, "Other disks", tree, view.disks,
        [](const zav_disk& disk) { return disk.array == ZAV_NONE && disk.groups.count == 0; },
        free_disk);
    add_rest(
        roots, "Pools of no known group", tree, view.pools,
        [](const zav_pool& pool) { return pool.group == ZAV_NONE; }, pool_branch);
    add_rest(
        roots, "Network disks", tree, view.filesystems,
        [](const zav_filesystem& filesystem) { return filesystem.is_netdisk != 0; },
        filesystem_branch);
    add_rest(
        roots, "File systems without a pool", tree, view.filesystems,
        [](const zav_filesystem& filesystem) {
            return filesystem.is_netdisk == 0 && filesystem.pool == ZAV_NONE;
        },
        filesystem_branch);
    add_rest(
        roots, "Shares on nothing known", tree, view.shares,
        [](const zav_share& share) {
            return share.pool == ZAV_NONE && share.filesystem == ZAV_NONE;
        },
        share_branch);
    add_rest(roots, "Services", tree, view.services, always, service_branch);
    add_rest(roots, "Not read", tree, view.failures, always, failure_branch);
    return roots;
}

std::string percent_field(const char* name, double percent) {
    return percent >= 0 ? name + rounded_text(percent, 0) + " %" : "";
}

std::string title(const Tree& tree) {
    if (tree.view.health == nullptr) {
        return "";
    }
    const zav_health& health = *tree.view.health;
    std::vector<std::string> fans;
    for (const Fan& fan : fans_of(health.fans)) {
        fans.push_back(plain(fan.name) + " " + std::to_string(fan.rpm) + " rpm");
    }
    const std::string power = plain(health.power);
    Line line;
    line.add(coloured(plain(health.host_name), Colour::strong, tree.look))
        .add(plain(health.model))
        .add(plain(health.software_version))
        .add(temperature(health.temperature_c))
        .add(joined(fans, ", "))
        .add(power.empty() ? power : "power " + power)
        .add(percent_field("memory ", health.memory_percent))
        .add(percent_field("processor ", health.processor_percent));
    return line.text().empty() ? "" : line.text() + "\n";
}

std::string findings_text(const Tree& tree) {
    std::string text;
    for (const Finding& finding : findings_of(tree.view, tree.limits)) {
        const Colour colour =
            finding.severity == Severity::critical ? Colour::bad : Colour::doubtful;
        text += coloured("! " + finding.text, colour, tree.look) + "\n";
    }
    return text;
}

} // namespace

std::string tree_text(const zav::View& view, const Look& look, const Limits& limits) {
    const Tree tree{view, look, limits};
    std::string text = title(tree) + findings_text(tree);
    for (const Branch& root : roots_of(tree)) {
        text += (text.empty() ? "" : "\n") + branch_text(root, look);
    }
    return text;
}

} // namespace zavinfo
