// SPDX-License-Identifier: MIT
#include "zavinfo/loss.h"

#include "zavinfo/text.h"

#include <algorithm>
#include <optional>

namespace zavinfo {

namespace {

/// How many members an array can lose in all; nothing for a level that is not known. A mirror
/// needs one member of whatever it has.
std::optional<std::size_t> tolerance_of(std::string_view level, std::size_t slots) {
    if (level == "raid0" || level == "linear") {
        return 0;
    }
    if (level == "raid1") {
        return slots == 0 ? 0 : slots - 1;
    }
    if (level == "raid5" || level == "raid6") {
        return level == "raid5" ? 1 : 2;
    }
    return std::nullopt;
}

std::size_t count_of(const zav_array& array, zav_member_state state) {
    return static_cast<std::size_t>(
        std::ranges::count(zav::members(array), state, &zav_member::state));
}

/// How many slots have no working member. A rebuild goes on in the slot of a faulty member, which
/// stays in the list until it is removed.
std::size_t lacking_slots(const zav_array& array) {
    return count_of(array, ZAV_MEMBER_MISSING) +
           std::max(count_of(array, ZAV_MEMBER_FAULTY), count_of(array, ZAV_MEMBER_REBUILDING));
}

/// Raises the kind, never lowers it: a disk may be a part of several things.
void raise(Loss& loss, LossKind kind, std::string reason) {
    loss.kind = std::max(loss.kind, kind);
    loss.reasons.push_back(std::move(reason));
}

void add_pool(const zav::View& view, std::size_t index, Loss& loss) {
    loss.pools.insert(index);
    const zav_pool& pool = view.pools[index];
    for (const std::uint32_t share : zav::items(pool.shares)) {
        loss.shares.insert(share);
    }
    if (const zav_filesystem* filesystem = zav::follow(view.filesystems, pool.filesystem)) {
        loss.filesystems.insert(static_cast<std::size_t>(pool.filesystem));
        for (const std::uint32_t share : zav::items(filesystem->shares)) {
            loss.shares.insert(share);
        }
    }
}

/// A group that lacks a volume does not start as a whole: all of its pools count.
void add_group(const zav::View& view, std::size_t index, Loss& loss) {
    if (loss.groups.insert(index).second) {
        for (const std::uint32_t pool : zav::items(view.groups[index].pools)) {
            add_pool(view, pool, loss);
        }
    }
}

void add_array(const zav::View& view, std::size_t index, Loss& loss) {
    loss.arrays.insert(index);
    for (std::size_t group = 0; group < view.groups.size(); ++group) {
        for (const zav_volume& volume : zav::volumes(view.groups[group])) {
            if (zav::follow(view.arrays, volume.array) == &view.arrays[index]) {
                add_group(view, group, loss);
            }
        }
    }
}

void judge_active(const zav::View& view, std::size_t index, Loss& loss) {
    const zav_array& array = view.arrays[index];
    const std::string name = "array " + plain(array.name);
    const std::size_t lacking = lacking_slots(array);
    const auto tolerance = tolerance_of(array.level, lacking + count_of(array, ZAV_MEMBER_ACTIVE));
    if (!tolerance) {
        raise(loss, LossKind::unknown, "Whether " + name + " would survive is not known.");
        return;
    }
    if (*tolerance > lacking) {
        const std::size_t left = *tolerance - lacking - 1;
        raise(loss, LossKind::guard,
              "The " + name + " would run on without it, and " +
                  (left == 0 ? "be lost with the next disk."
                             : "could do without " + std::to_string(left) +
                                   (left == 1 ? " more disk." : " more disks.")));
        return;
    }
    const bool has_no_guard = *tolerance == 0;
    raise(loss, LossKind::data,
          "The " + name + " would be lost: " +
              (has_no_guard ? "its level does without no disk."
                            : "it lacks all the disks already that it can do without."));
    add_array(view, index, loss);
}

void judge_member(const zav::View& view, std::size_t index, zav_member_state state, Loss& loss) {
    const zav_array& array = view.arrays[index];
    const std::string name = "array " + plain(array.name);
    if (array.state == ZAV_ARRAY_INACTIVE) {
        raise(loss, LossKind::gone,
              "The " + name + " does not run already; without this disk it may never again.");
        add_array(view, index, loss);
        return;
    }
    switch (state) {
    case ZAV_MEMBER_ACTIVE:
        return judge_active(view, index, loss);
    case ZAV_MEMBER_SPARE:
        return raise(loss, LossKind::spare, "The " + name + " would lose a spare disk.");
    case ZAV_MEMBER_REBUILDING:
        return raise(loss, LossKind::guard,
                     "The rebuild of " + name + " onto it would end; it holds no data alone yet.");
    case ZAV_MEMBER_FAULTY:
    case ZAV_MEMBER_MISSING:
        return raise(loss, LossKind::nothing, "The " + name + " does without it already.");
    default:
        return raise(loss, LossKind::unknown, "What it holds of " + name + " is not known.");
    }
}

void judge_groups(const zav::View& view, std::size_t disk, Loss& loss) {
    for (std::size_t group = 0; group < view.groups.size(); ++group) {
        for (const zav_volume& volume : zav::volumes(view.groups[group])) {
            if (zav::follow(view.disks, volume.disk) == &view.disks[disk]) {
                raise(loss, LossKind::data,
                      "The group " + plain(view.groups[group].name) +
                          " lies on it without an array, and would be lost.");
                add_group(view, group, loss);
            }
        }
    }
}

bool is_read(const zav::View& view) {
    return std::ranges::none_of(view.failures, [](const zav_failure& failure) {
        const std::string_view part = failure.part;
        return part == "disks" || part == "arrays" || part == "groups" || part == "pools";
    });
}

} // namespace

Loss loss_of(const zav::View& view, std::size_t disk) {
    Loss loss;
    for (std::size_t array = 0; array < view.arrays.size(); ++array) {
        for (const zav_member& member : zav::members(view.arrays[array])) {
            if (zav::follow(view.disks, member.disk) == &view.disks[disk]) {
                judge_member(view, array, member.state, loss);
            }
        }
    }
    judge_groups(view, disk, loss);
    if (loss.kind == LossKind::nothing && view.disks[disk].is_hotspare != 0) {
        raise(loss, LossKind::spare, "A disk that fails would have no hot spare, or one less.");
    }
    if (loss.reasons.empty()) {
        const bool is_used = view.disks[disk].is_used != 0;
        if (is_used) {
            raise(loss, LossKind::unknown, "It is in use; what it carries is not known.");
        } else {
            raise(loss, LossKind::nothing, "No array and no group is on it.");
        }
    }
    if (loss.kind != LossKind::data && !is_read(view)) {
        raise(loss, LossKind::unknown, "Not everything that may lie on it could be read.");
    }
    return loss;
}

std::string loss_summary(const Loss& loss) {
    const auto count = [](std::size_t number, const char* one, const char* many) {
        return std::to_string(number) + " " + (number == 1 ? one : many);
    };
    switch (loss.kind) {
    case LossKind::nothing:
        return "nothing lost";
    case LossKind::spare:
        return "only a spare lost";
    case LossKind::guard:
        return "no data lost, but less protection";
    case LossKind::data:
        return "data lost, " + count(loss.pools.size(), "pool", "pools") + " with " +
               count(loss.shares.size(), "share", "shares");
    case LossKind::gone:
        return "nothing more, its array is lost already";
    case LossKind::unknown:
        break;
    }
    return "not known what is lost";
}

} // namespace zavinfo
