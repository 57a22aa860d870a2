// SPDX-License-Identifier: MIT
// mdmanage: lists, creates, extends, shrinks, deletes and recovers arrays.
#include "actions/arrays/changes.h"
#include "actions/arrays/creation.h"
#include "actions/arrays/name_reservation.h"
#include "actions/arrays/recovery.h"
#include "actions/disks/disks.h"
#include "applets/applets.h"
#include "applets/options.h"
#include "base/checks.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/arrays.h"
#include "inventory/disks.h"
#include "records/raid_level.h"
#include "sources/mdadm.h"
#include "sources/mdstat.h"

#include <cstdio>
#include <memory>
#include <string>

namespace zav {

namespace {

// The bits of the options, by their places in the option string.
enum : std::uint32_t {
    create_bit = 0x1,
    display_bit = 0x2,
    delete_bit = 0x4,
    recover_bit = 0x8,
    foreground_bit = 0x10,
    add_bit = 0x100,
    remove_bit = 0x200,
};

struct Arguments {
    std::uint32_t mode = 0;
    const char* name = nullptr;
    const char* level = nullptr;
    const char* device = nullptr;
    const char* added_channel = nullptr;
    const char* removed_channel = nullptr;
    const char* operand = nullptr;
};

/// In the name of the command, from the line that calls this.
int fail(int code, int line = __builtin_LINE()) {
    return fail_command(code, {"mdmanage_main", line});
}

/// Whether /proc/mdstat lists the array. Not, when it cannot be read.
bool is_listed(const char* name) {
    const Capture capture("/tmp/mdstat.XXXXXX");
    (void)capture.run_and_log(format_text(mdstat_command, capture.path()));
    const auto mdstat = capture.read();
    if (!mdstat) {
        std::printf("cannot open %s\n", capture.path());
        return false;
    }
    return mdstat_lists(*mdstat, name);
}

/// A reservation of a name, given back at the end.
class Reservation {
  public:
    explicit Reservation(const char* name) : name_(name), made_(add_name(name) == 0) {}
    Reservation(const Reservation&) = delete;
    Reservation& operator=(const Reservation&) = delete;
    ~Reservation() {
        // One that was refused is another process's.
        if (made_) {
            del_name(name_);
        }
    }
    explicit operator bool() const { return made_; }

  private:
    const char* name_;
    bool made_;
};

int create_reserved(const Arguments& arguments, const std::string& type) {
    constexpr int created_with_error = 1;
    const Reservation reservation(arguments.name);
    if (!reservation) {
        return fail(error::name_not_reserved);
    }
    mdinfo array;
    array.name = arguments.name;
    array.type = type;
    array.members = arguments.operand;
    array.device = arguments.device != nullptr ? arguments.device : "";
    array.status = (arguments.mode & foreground_bit) != 0 ? foreground_status : "";
    const int result = create_array(array);
    if (result == error::command_failed) {
        // mdadm may have failed after the array was there.
        return is_listed(arguments.name) ? created_with_error : fail(error::array_not_created);
    }
    return result == 0 ? 0 : fail(result);
}

int create(const Arguments& arguments) {
    if (check_name32(arguments.name) != 0) {
        return fail(error::bad_array_name);
    }
    const std::string type = raid_type_of(arguments.level != nullptr ? arguments.level : "");
    if (type.empty()) {
        return fail(error::bad_raid_level);
    }
    if (arguments.device != nullptr && check_name8(arguments.device) != 0) {
        return fail(error::bad_device);
    }
    // A list that the record would cut could end in another channel.
    if (check_number_list(arguments.operand) != 0 ||
        std::string_view(arguments.operand).size() > decltype(mdinfo::members)::capacity) {
        return fail(error::bad_channel);
    }
    return create_reserved(arguments, type);
}

/// Leaves only the array of that name in the list. 0 or a code.
int choose_array(mdinfo_list& arrays, const char* name) {
    if (check_name32(name) != 0) {
        return error::bad_array_name;
    }
    const mdinfo* found = find_array(arrays, name);
    if (found == nullptr) {
        return error::no_such_array;
    }
    auto chosen = std::make_unique<mdinfo>(*found);
    arrays.clear();
    arrays.append(std::move(chosen));
    return 0;
}

int display(const Arguments& arguments) {
    mdinfo_list arrays;
    if (get_mdinfo(arrays) != 0) {
        return fail(error::no_array_list);
    }
    if (arguments.name != nullptr) {
        if (const int result = choose_array(arrays, arguments.name); result != 0) {
            return fail(result);
        }
    }
    // The table is printed with kernel names when there are no channels to print.
    const int result = disks_to_ch(arrays);
    std::puts("raidname\ttype\tstatus\tprogress\tdevice\tallsize\tusedsize\tchannel\tspare");
    std::puts("*******************************************************");
    mdinfo_list_display(&arrays);
    return result == 0 ? 0 : fail(result);
}

/// 0, or the code for an operand or a channel that is none.
int check_member_arguments(const Arguments& arguments, const char* channel) {
    if (check_name32(arguments.operand) != 0) {
        return error::bad_array_name;
    }
    return check_number_list(channel) == 0 ? 0 : error::bad_channel;
}

int add_member(const Arguments& arguments) {
    if (const int result = check_member_arguments(arguments, arguments.added_channel);
        result != 0) {
        return fail(result);
    }
    if (const int result = check_raid_state(arguments.operand); result != 0) {
        return fail(result);
    }
    const int result = add_disk(arguments.operand, arguments.added_channel);
    if (result == 0) {
        return 0;
    }
    return fail(result == error::command_failed ? error::disk_not_added : result);
}

int remove_member(const Arguments& arguments) {
    if (const int result = check_member_arguments(arguments, arguments.removed_channel);
        result != 0) {
        return fail(result);
    }
    const int result = remove_disk(arguments.operand, arguments.removed_channel);
    if (result == 0) {
        return 0;
    }
    return fail(result == error::command_failed ? error::disk_not_removed : result);
}

int recover(const Arguments& arguments) {
    BoundedText<8> type;
    // An array whose level mdadm does not tell would be created again as a stripe.
    if (check_name32(arguments.name) != 0 || get_raid_type(arguments.name, type) != 0 ||
        type.empty()) {
        return fail(error::bad_array_name);
    }
    const int result = raid_recover(arguments.name, type.c_str());
    return result == 0 ? 0 : fail(result);
}

/// Clears the disks that an array has left, each found once more by its channel and device.
void prepare_former_members(const disk_list& members) {
    for (const disk_info& member : members) {
        disk_place_show(member);
        disk_list disks;
        disk_list found;
        if (get_disk_list(disks) != 0) {
            log_return(error::no_disk_list);
        } else if (find_disk(disks, found, member.channel, member.device) == 0) {
            disk_format(found.begin()->name.c_str());
        }
    }
}

int remove_array(const Arguments& arguments) {
    if (check_name32(arguments.name) != 0) {
        return fail(error::bad_array_name);
    }
    del_name(arguments.name);
    disk_list members;
    if (const int result = get_disks_from_md(arguments.name, members); result != 0) {
        return fail(result);
    }
    if (const int result = check_delete(arguments.name); result != 0) {
        // The tool that lists the groups failed: the array runs on.
        return fail(result == error::command_failed ? error::array_not_stopped : result);
    }
    if (stop_array(arguments.name) != 0 && is_listed(arguments.name)) {
        return fail(error::array_not_stopped);
    }
    prepare_former_members(members);
    return 0;
}

} // namespace

int mdmanage_main(int argc, char** argv) {
    Arguments arguments;
    arguments.mode = zav_getopt(argc, argv, applet_options("mdmanage"),
                                {&arguments.name, &arguments.level, &arguments.device,
                                 &arguments.added_channel, &arguments.removed_channel});
    arguments.operand = optind < argc ? argv[optind] : nullptr;
    if ((arguments.mode & create_bit) != 0) {
        return create(arguments);
    }
    if ((arguments.mode & display_bit) != 0) {
        return display(arguments);
    }
    if ((arguments.mode & add_bit) != 0) {
        return add_member(arguments);
    }
    if ((arguments.mode & remove_bit) != 0) {
        return remove_member(arguments);
    }
    if ((arguments.mode & recover_bit) != 0) {
        return recover(arguments);
    }
    if ((arguments.mode & delete_bit) != 0) {
        return remove_array(arguments);
    }
    // An unknown option came before any mode.
    return static_cast<int>(arguments.mode);
}

} // namespace zav
