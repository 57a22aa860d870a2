// SPDX-License-Identifier: MIT
#include "zavinfo/judges.h"
#include "zavinfo/names.h"
#include "zavinfo/text.h"

#include <algorithm>

namespace zavinfo {

namespace {

std::string member_text(const zav_member& member) {
    const std::string place =
        member.slot != ZAV_UNKNOWN ? "slot " + std::to_string(member.slot) : "a slot";
    return member.state == ZAV_MEMBER_MISSING ? place + " is empty"
                                              : plain(member.name) + " has failed";
}

/// Which members an array lacks.
std::string losses_of(const zav_array& array) {
    std::vector<std::string> losses;
    for (const zav_member& member : zav::members(array)) {
        if (member.state == ZAV_MEMBER_FAULTY || member.state == ZAV_MEMBER_MISSING) {
            losses.push_back(member_text(member));
        }
    }
    return losses.empty() ? "" : " (" + joined(losses, ", ") + ")";
}

std::string rebuild_text(const zav_rebuild& rebuild) {
    if (rebuild.is_running == 0) {
        return "";
    }
    constexpr double hundred = 100;
    const std::string left =
        rebuild.seconds_left >= 0 ? ", " + duration_text(rebuild.seconds_left) + " left" : "";
    return " (" + rounded_text(rebuild.done * hundred, 1) + " %" + left + ")";
}

bool has_failing_attribute(const zav_disk& disk) {
    return std::ranges::any_of(zav::attributes(disk), [](const zav_smart_attribute& attribute) {
        return std::string_view(attribute.when_failed) == "FAILING_NOW";
    });
}

/// How many of so many members hold data; 0 for an array that no spare can help.
std::size_t data_members(std::string_view level, std::size_t members) {
    const std::size_t parity = level == "raid5" ? 1 : level == "raid6" ? 2 : 0;
    if (level == "raid1") {
        return 1;
    }
    return parity != 0 && members > parity ? members - parity : 0;
}

/// The least size of a disk that can take the place of a member, as far as it can be told; 0 when
/// no disk can.
std::uint64_t size_for_member(const zav::View& view, const zav_array& array) {
    std::size_t slots = 0;
    std::uint64_t smallest = UINT64_MAX;
    for (const zav_member& member : zav::members(array)) {
        slots += member.state != ZAV_MEMBER_SPARE ? 1 : 0;
        const zav_disk* disk = zav::follow(view.disks, member.disk);
        if (member.state == ZAV_MEMBER_ACTIVE && disk != nullptr && disk->size_bytes != 0) {
            smallest = std::min(smallest, disk->size_bytes);
        }
    }
    const std::size_t data = data_members(array.level, slots);
    if (data == 0 || array.state == ZAV_ARRAY_INACTIVE) {
        return 0;
    }
    // A member holds its part, so none is asked for more than the smallest has.
    return std::max<std::uint64_t>(1, std::min(smallest, array.size_bytes / data));
}

/// Why a hot spare cannot help; empty when it can.
std::string trouble_of(const zav::View& view, const zav_disk& spare) {
    if (spare.state == ZAV_DISK_OFFLINE) {
        return "it is offline";
    }
    if (spare.smart == ZAV_VERDICT_FAILED) {
        return "it expects to fail";
    }
    if (spare.groups.count != 0 && spare.array == ZAV_NONE) {
        return "it is in a group";
    }
    std::uint64_t least = 0;
    for (const zav_array& array : view.arrays) {
        const std::uint64_t size = size_for_member(view, array);
        least = least == 0 || (size != 0 && size < least) ? size : least;
    }
    if (least == 0) {
        return "no array could use it";
    }
    return spare.size_bytes != 0 && spare.size_bytes < least
               ? "it has " + size_text(spare.size_bytes) + ", and every array needs at least " +
                     size_text(least)
               : "";
}

/// The state of a disk in its array.
zav_member_state state_in_array(const zav::View& view, const zav_disk& disk) {
    const zav_array* array = zav::follow(view.arrays, disk.array);
    if (array != nullptr) {
        for (const zav_member& member : zav::members(*array)) {
            if (zav::follow(view.disks, member.disk) == &disk) {
                return member.state;
            }
        }
    }
    return ZAV_MEMBER_UNKNOWN;
}

} // namespace

void judge_arrays(Judgement& judgement) {
    for (const zav_array& array : judgement.view.arrays) {
        const std::string name = "array " + std::string(array.name);
        switch (array.state) {
        case ZAV_ARRAY_INACTIVE:
            judgement.add(Severity::critical, name + " is lost" + losses_of(array),
                          "Do not write to its disks and do not create it anew. See whether a disk "
                          "has only lost its connection; then `mdmanage --recover`, after its "
                          "warnings have been read, or a backup.");
            break;
        case ZAV_ARRAY_DEGRADED:
            judgement.add(Severity::critical, name + " is degraded" + losses_of(array),
                          "Back up what is not backed up. Replace the disk that has failed and add "
                          "the new one with `mdmanage -a`; a spare of the array takes its place by "
                          "itself, a disk of the list of hot spares does not.");
            break;
        case ZAV_ARRAY_REBUILDING:
            judgement.add(Severity::warning,
                          name + " is being rebuilt" + rebuild_text(array.rebuild),
                          "Wait until it is done, and pull no disk meanwhile.");
            break;
        case ZAV_ARRAY_CLEAN:
            break;
        default:
            judgement.add(Severity::unknown, "the state of " + name + " is not known",
                          "Look at /proc/mdstat, and at what `mdadm --detail` says of it.");
        }
    }
}

void judge_disks(Judgement& judgement) {
    for (const zav_disk& disk : judgement.view.disks) {
        const std::string name = "disk " + id_of(disk);
        if (disk.smart == ZAV_VERDICT_FAILED) {
            judgement.add(Severity::critical, name + " expects to fail (SMART)",
                          "Replace it soon: back up, and rebuild onto another disk while this one "
                          "still works.");
        } else if (has_failing_attribute(disk)) {
            judgement.add(Severity::warning, name + " has an attribute below its threshold",
                          "`disksmart` shows which one. Have a replacement ready.");
        }
        if (disk.state == ZAV_DISK_OFFLINE && disk.is_hotspare == 0) {
            judgement.add(disk.is_used != 0 ? Severity::critical : Severity::warning,
                          name + " is offline",
                          "See whether it sits firmly in its slot. If it does, it has failed: "
                          "replace it.");
        }
    }
}

void judge_hotspares(Judgement& judgement) {
    const zav::View& view = judgement.view;
    for (const zav_disk& disk : view.disks) {
        if (disk.is_hotspare == 0) {
            continue;
        }
        const std::string name = "hot spare " + id_of(disk);
        const zav_member_state state = state_in_array(view, disk);
        if (state == ZAV_MEMBER_ACTIVE || state == ZAV_MEMBER_FAULTY) {
            judgement.add(Severity::warning,
                          name + " cannot help: it is a member of array " +
                              view.arrays[static_cast<std::size_t>(disk.array)].name,
                          "Take it off the list with `diskmanage --hotspare -r`, and make another "
                          "disk the spare.");
        } else if (state == ZAV_MEMBER_UNKNOWN && judgement.is_read("arrays")) {
            const std::string trouble = trouble_of(view, disk);
            if (!trouble.empty()) {
                judgement.add(Severity::warning, joined({name, "cannot help:", trouble}, " "),
                              "Nothing will take the place of a disk that fails. Put in a disk "
                              "that can, and make it a hot spare with `diskmanage --hotspare -a`.");
            }
        }
    }
}

void judge_pools(Judgement& judgement) {
    for (const zav_pool& pool : judgement.view.pools) {
        const bool is_needed = pool.shares.count != 0 || pool.filesystem != ZAV_NONE;
        if (pool.is_available == 0 && is_needed) {
            judgement.add(Severity::critical, "pool " + std::string(pool.path) + " is switched off",
                          "`vgchange -ay` and the name of its group switch it on; if that fails, a "
                          "volume of the group is missing.");
        }
    }
}

void judge_filesystems(Judgement& judgement) {
    for (const zav_filesystem& filesystem : judgement.view.filesystems) {
        const std::string name = (filesystem.is_netdisk != 0 ? "network disk " : "file system ") +
                                 std::string(filesystem.name);
        const double percent = percent_of(filesystem.used_bytes, filesystem.size_bytes);
        const std::string full = joined({name, "is", rounded_text(percent, 0), "% full"}, " ");
        const char* advice = "Delete what is no longer needed, or move it; a file system that is "
                             "full refuses every write.";
        if (filesystem.state == ZAV_FILESYSTEM_UNUSABLE) {
            judgement.add(Severity::critical, name + " cannot be used",
                          "See whether its array runs. Unmount it and mount it again; only if that "
                          "fails, repair it: a repair may throw away files.");
        } else if (filesystem.state == ZAV_FILESYSTEM_UNMOUNTED) {
            judgement.add(Severity::warning, name + " is not mounted",
                          "Mount it. Only if that fails, repair it with `fsmanage --repair` or "
                          "`netmanage --repair`, which may throw away files.");
        } else if (percent >= judgement.limits.critical) {
            judgement.add(Severity::critical, full, advice);
        } else if (percent >= judgement.limits.warning) {
            judgement.add(Severity::warning, full, advice);
        }
    }
}

} // namespace zavinfo
