// SPDX-License-Identifier: MIT
#include "actions/groups/recovery.h"

#include "actions/arrays/changes.h"
#include "actions/disks/claims.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/text.h"
#include "inventory/array_account.h"
#include "inventory/arrays.h"
#include "records/disk.h"
#include "sources/file_tools.h"
#include "sources/lvm.h"
#include "sources/lvm_backup.h"
#include "sources/sys_block.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <sys/stat.h>

namespace zav {

namespace {

const std::string ram_prefix = "ram";

/// Which of the sixteen RAM disks carry a physical volume.
class RamDisks {
  public:
    explicit RamDisks(const live_pv_list& live) {
        for (const live_pv& volume : live) {
            const std::string_view device = volume.pvname;
            const std::string_view number =
                device.substr(std::min(ram_prefix.size(), device.size()));
            if (device.starts_with(ram_prefix) && !number.empty() &&
                std::ranges::all_of(number, is_digit) && decimal(number) < used_.size()) {
                used_.at(decimal_size(number)) = true;
            }
        }
    }
    /// The number of the lowest one that is free, also for other commands; it is not from then on.
    std::optional<int> take(DiskClaims& claims) {
        constexpr std::size_t first = 2; // the first two are not for volumes
        for (std::size_t number = first; number < used_.size(); ++number) {
            if (!used_.at(number) && claims.add(ram_prefix + std::to_string(number))) {
                used_.at(number) = true;
                return static_cast<int>(number);
            }
        }
        return std::nullopt;
    }

  private:
    std::array<bool, 16> used_ = {};
};

/// run_and_log() for text that comes from a backup: only plain names reach a command.
WaitStatus run_with_name(std::string_view name, const std::string& command,
                         FailureWording wording = FailureWording::standard) {
    return is_plain_name(name) ? run_and_log(command, wording)
                               : refuse_command(command, not_plain_reason(name), wording);
}

/// Makes the members of an array faulty and wipes its beginning, so that LVM sees no volume on it.
void give_up_array(const mdinfo& array) {
    for (const std::string_view member : split(array.members, ",")) {
        const std::string name(cut_at(member, "("));
        if (name.starts_with("sd") && member.substr(name.size()) != "(F)") {
            ignore(fail_disk(array.name.c_str(), name.c_str()));
        }
    }
    ignore(run_with_name(array.name, format_text(wipe_command, array.name.c_str())));
}

/// Makes a physical volume of that UUID on a RAM disk. Code::no_substitute.
Code substitute(const backup_pv& volume, RamDisks& ram_disks, DiskClaims& claims) {
    const auto number = ram_disks.take(claims);
    if (!number) {
        return Code::no_substitute;
    }
    const std::string command = format_text(substitute_command, volume.id.c_str(), *number);
    if (failed(run_with_name(volume.id, command, FailureWording::no_blanks_around_for))) {
        return Code::no_substitute;
    }
    return Code::ok;
}

/// Whether the kernel has the disk that a volume is on, or it cannot be told: a backup may name it
/// by a link. A RAM disk loses its volume with the power.
bool may_have_disk(std::string_view disk) {
    struct stat status = {};
    if (!is_plain_name(disk) || disk.starts_with(ram_prefix)) {
        return false;
    }
    const std::string path = format_text(disk_attribute_path, std::string(disk).c_str(), "");
    return ::stat(path.c_str(), &status) == 0 || !is_absence(errno) || !is_kind_of_disk(disk);
}

/// Whether a volume that the list lacks may be there all the same. LVM lists what it misses, too,
/// on no device: its silence alone is no proof against an array that runs.
bool may_be_there(std::string_view device, std::string_view type, bool is_live_sure) {
    const std::string_view disk = whole_disk_name(device);
    return disk.starts_with("md") ? !may_be_given_up(disk, type)
                                  : !is_live_sure && may_have_disk(disk);
}

/// Whether a volume is on an array that does not run, which is given up then.
bool is_on_inactive_array(const backup_pv& volume, const live_pv_list& live, mdinfo_list& arrays) {
    const mdinfo* array = find_array(arrays, volume.device);
    return array != nullptr && array->status == inactive_state &&
           pv_state(volume, live) == PvState::on_array;
}

/// Whether an array under a volume would be given up, or the volume replaced, though nothing says
/// that it is lost but a tool that failed or is silent.
bool is_in_doubt(const backup_pv& volume, const live_pv_list& live, bool is_live_sure,
                 mdinfo_list& arrays) {
    const mdinfo* array = find_array(arrays, volume.device);
    const std::string_view type = array != nullptr ? array->type.view() : "";
    switch (pv_state(volume, live)) {
    case PvState::on_array:
        return is_on_inactive_array(volume, live, arrays) && !may_be_given_up(volume.device, type);
    case PvState::missing:
        return std::ranges::find(live, volume.id, &live_pv::uuid) == live.end() &&
               may_be_there(volume.device, type, is_live_sure);
    default:
        return false;
    }
}

/// Whether another command may have a volume's array in hand: one that does not run, or one whose
/// volume is missing since the array was just stopped to be made again.
bool may_be_in_use(const backup_pv& volume, const live_pv_list& live, mdinfo_list& arrays) {
    return is_on_inactive_array(volume, live, arrays) ||
           (pv_state(volume, live) == PvState::missing &&
            whole_disk_name(volume.device).starts_with("md"));
}

/// Whether an array would be given up for nothing: recovery stops at a volume on an array that
/// nothing is known of.
bool stops_behind_an_array(const backup_pv_list& volumes, const live_pv_list& live,
                           mdinfo_list& arrays) {
    const auto gives_up = [&](const backup_pv& volume) {
        return is_on_inactive_array(volume, live, arrays);
    };
    const auto stops_at = [&](const backup_pv& volume) {
        return pv_state(volume, live) == PvState::on_array &&
               find_array(arrays, volume.device) == nullptr;
    };
    return std::ranges::any_of(volumes, gives_up) && std::ranges::any_of(volumes, stops_at);
}

/// Whether a volume is on another device than the backup says, which is logged.
bool has_moved(const backup_pv& volume, const live_pv_list& live) {
    if (pv_state(volume, live) != PvState::moved) {
        return false;
    }
    const auto found = std::ranges::find(live, volume.id, &live_pv::uuid);
    log_error("'%s' has moved to '%s': nothing is restored", volume.device.c_str(),
              found->pvname.c_str());
    return true;
}

/// Claims the arrays that are to be given up, or whose volumes are missing, then looks once more.
/// Code::ok, or Code::volume_gone with a message: nothing is touched then.
Code check_doubts(const backup_pv_list& volumes, const live_pv_list& live, bool is_live_sure,
                  mdinfo_list& arrays, DiskClaims& claims) {
    if (stops_behind_an_array(volumes, live, arrays)) {
        log_error("a volume is on an array that is not there: nothing is restored");
        return Code::volume_gone;
    }
    for (const backup_pv& volume : volumes) {
        if (has_moved(volume, live) ||
            (may_be_in_use(volume, live, arrays) && !claims.add(volume.device))) {
            return Code::volume_gone;
        }
        if (is_in_doubt(volume, live, is_live_sure, arrays)) {
            log_error("'%s' is not known to be lost: it is not given up", volume.device.c_str());
            return Code::volume_gone;
        }
    }
    return Code::ok;
}

/// Whether a volume is on a RAM disk, where an attempt that was cut short has put it.
bool has_substitute(const backup_pv& volume, const live_pv_list& live) {
    const auto found = std::ranges::find(live, volume.id, &live_pv::uuid);
    return found != live.end() && found->pvname.view().starts_with(ram_prefix);
}

/// Brings one volume back. Code::volume_gone or Code::no_substitute; `restored` becomes true when
/// something took its place.
Code restore_volume(const backup_pv& volume, const live_pv_list& live, mdinfo_list& arrays,
                    RamDisks& ram_disks, DiskClaims& claims, bool& restored) {
    if (pv_state(volume, live) == PvState::on_array) {
        const mdinfo* array = find_array(arrays, volume.device);
        if (array == nullptr) {
            return Code::volume_gone;
        }
        if (array->status != inactive_state) {
            return Code::ok;
        }
        give_up_array(*array);
    }
    // One that is present on a plain device gets a substitute too: the whole set is restored.
    const Code result = substitute(volume, ram_disks, claims);
    const bool is_there = !failed(result) || has_substitute(volume, live);
    restored = restored || is_there;
    return is_there ? Code::ok : result; // LVM may refuse a second one of the same UUID
}

} // namespace

Code handle_abnorm_raid(const char* pool, GroupName& group, Sink& out) {
    std::string backup;
    if (!find_pool_in_backups(pool, group, backup, LogSite::here(), out)) {
        return Code::ok;
    }
    if (const Code result = raid_restore(backup, group.c_str(), out); failed(result)) {
        log_failure(result);
        return Code::array_inactive;
    }
    return Code::ok;
}

Code vg_raid_resume(const char* group, Sink& out) {
    if (!has_backup_directory(out)) {
        return Code::ok;
    }
    const std::string path = backup_path(group);
    const auto backup = read_file(path.c_str());
    if (!backup) {
        // It is no failure, as documented, but the group stays as it is.
        if (!is_absence(errno)) {
            log_errno(0);
        }
        out.print("file '%s' cannot open\n", path.c_str());
        return Code::ok;
    }
    if (const Code result = raid_restore(*backup, group, out); failed(result)) {
        log_failure(result);
        out.print("raid restore '%s' fail\n", group);
        return Code::array_inactive;
    }
    return Code::ok;
}

Code raid_restore(std::string_view backup, const char* group, Sink& out) {
    if (!is_plain_name(group)) {
        // Nothing is given up for a group that could not be restored in the end.
        ignore(refuse_command(format_text(restore_group_command, group), not_plain_reason(group)));
        return Code::volume_gone;
    }
    mdinfo_list arrays;
    if (const Code result = get_mdinfo(arrays, out); failed(result)) {
        log_failure(result);
    }
    backup_pv_list volumes;
    if (!parse_backup_volumes(backup, volumes)) {
        log_failure(Code::backup_without_volumes);
    }
    live_pv_list live;
    Code result = Code::ok;
    bool is_live_sure = false;
    if (const Code live_result = get_live_volumes(live, is_live_sure, out); failed(live_result)) {
        log_failure(live_result);
        result = Code::live_volumes_unread;
    }
    DiskClaims claims;
    if (const Code doubt = check_doubts(volumes, live, is_live_sure, arrays, claims);
        failed(doubt)) {
        return failed(result) ? result : doubt;
    }
    RamDisks ram_disks(live);
    bool restored = false;
    for (const backup_pv& volume : volumes) {
        const Code stopped = restore_volume(volume, live, arrays, ram_disks, claims, restored);
        if (failed(stopped)) {
            // Metadata restored onto half of the volumes would do more harm.
            return stopped;
        }
    }
    out.print("vg restore: %s\n", restored ? "yes" : "no");
    if (restored) {
        ignore(run_and_log(format_text(restore_group_command, group)));
    }
    return result;
}

} // namespace zav
