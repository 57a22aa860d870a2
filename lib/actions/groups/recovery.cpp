// SPDX-License-Identifier: MIT
#include "actions/groups/recovery.h"

#include "actions/arrays/changes.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/text.h"
#include "inventory/arrays.h"
#include "sources/file_tools.h"
#include "sources/lvm.h"
#include "sources/lvm_backup.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

namespace zav {

namespace {

constexpr int live_volumes_unknown = -1;
constexpr int volume_gone = -2;
constexpr int no_substitute = -3;

/// Which of the sixteen RAM disks carry a physical volume.
class RamDisks {
  public:
    explicit RamDisks(const live_pv_list& live) {
        for (const live_pv& volume : live) {
            const std::string_view device = volume.pvname;
            const std::string_view number = device.substr(std::min(prefix.size(), device.size()));
            if (device.starts_with(prefix) && !number.empty() &&
                std::ranges::all_of(number, is_digit) && decimal(number) < used_.size()) {
                used_.at(decimal(number)) = true;
            }
        }
    }
    /// The first two are not for volumes.
    [[nodiscard]] std::optional<int> lowest_free() const {
        constexpr std::ptrdiff_t first = 2;
        const auto* free = std::find(used_.begin() + first, used_.end(), false);
        return free != used_.end() ? std::optional(static_cast<int>(free - used_.begin()))
                                   : std::nullopt;
    }
    void take(int number) { used_.at(static_cast<std::size_t>(number)) = true; }

  private:
    static constexpr std::string_view prefix = "ram";
    std::array<bool, 16> used_ = {};
};

/// run_and_log() for text that comes from a backup: only plain names reach a command.
int run_with_name(std::string_view name, const std::string& command,
                  FailureWording wording = FailureWording::standard) {
    return is_plain_name(name) ? run_and_log(command, wording) : refuse_command(command, wording);
}

/// Makes the members of an array faulty and wipes its beginning, so that LVM sees no volume on it.
void give_up_array(const mdinfo& array) {
    for (const std::string_view member : split(array.members, ",")) {
        const std::string name(cut_at(member, "("));
        if (name.starts_with("sd") && member.substr(name.size()) != "(F)") {
            fail_disk(array.name.c_str(), name.c_str());
        }
    }
    run_with_name(array.name, format_text(wipe_command, array.name.c_str()));
}

/// Makes a physical volume of that UUID on a RAM disk. 0 or no_substitute.
int substitute(const backup_pv& volume, RamDisks& ram_disks) {
    const auto number = ram_disks.lowest_free();
    if (!number) {
        return no_substitute;
    }
    const std::string command = format_text(substitute_command, volume.id.c_str(), *number);
    if (run_with_name(volume.id, command, FailureWording::no_blanks_around_for) != 0) {
        return no_substitute;
    }
    ram_disks.take(*number);
    return 0;
}

/// Brings one volume back. 0, volume_gone or no_substitute; `restored` becomes true when something
/// took its place.
int restore_volume(const backup_pv& volume, const live_pv_list& live, mdinfo_list& arrays,
                   RamDisks& ram_disks, bool& restored) {
    const PvState state = pv_state(volume, live);
    if (state == PvState::moved) {
        return volume_gone;
    }
    if (state == PvState::on_array) {
        const mdinfo* array = find_array(arrays, volume.device);
        if (array == nullptr) {
            return volume_gone;
        }
        if (array->status != inactive_state) {
            return 0;
        }
        give_up_array(*array);
    }
    // One that is present on a plain device gets a substitute too: the whole set is restored.
    const int result = substitute(volume, ram_disks);
    restored = restored || result == 0;
    return result;
}

} // namespace

int handle_abnorm_raid(const char* pool, GroupName& group) {
    std::string backup;
    if (!find_pool_in_backups(pool, group, backup, LogSite::here())) {
        return 0;
    }
    if (const int result = raid_restore(backup, group.c_str()); result != 0) {
        log_return(result);
        return error::array_inactive;
    }
    return 0;
}

int vg_raid_resume(const char* group) {
    if (!has_backup_directory()) {
        return 0;
    }
    const std::string path = backup_path(group);
    const auto backup = read_file(path.c_str());
    if (!backup) {
        std::printf("file '%s' cannot open\n", path.c_str());
        return 0;
    }
    if (const int result = raid_restore(*backup, group); result != 0) {
        log_return(result);
        std::printf("raid restore '%s' fail\n", group);
        return error::array_inactive;
    }
    return 0;
}

int raid_restore(std::string_view backup, const char* group) {
    if (!is_plain_name(group)) {
        // Nothing is given up for a group that could not be restored in the end.
        refuse_command(format_text(restore_group_command, group));
        return volume_gone;
    }
    mdinfo_list arrays;
    if (const int result = get_mdinfo(arrays); result != 0) {
        log_return(result);
    }
    backup_pv_list volumes;
    if (const int result = parse_backup_volumes(backup, volumes); result != 0) {
        log_return(result);
    }
    live_pv_list live;
    int result = 0;
    if (const int live_result = get_idpv_from_pvdisplay(live); live_result != 0) {
        log_return(live_result);
        result = live_volumes_unknown;
    }
    RamDisks ram_disks(live);
    bool restored = false;
    for (const backup_pv& volume : volumes) {
        const int stopped = restore_volume(volume, live, arrays, ram_disks, restored);
        if (stopped != 0) {
            // Metadata restored onto half of the volumes would do more harm.
            return stopped;
        }
    }
    std::printf("vg restore: %s\n", restored ? "yes" : "no");
    if (restored) {
        run_and_log(format_text(restore_group_command, group));
    }
    return result;
}

} // namespace zav
