// SPDX-License-Identifier: MIT
// mdmanage: lists, creates, extends, shrinks, deletes and recovers arrays.
#include "actions/arrays/changes.h"
#include "actions/arrays/creation.h"
#include "actions/arrays/name_reservation.h"
#include "actions/arrays/recovery.h"
#include "actions/disks/disks.h"
#include "applets/applets.h"
#include "applets/options.h"
#include "applets/standard_output.h"
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
int fail(Code code, int line = __builtin_LINE()) {
    return fail_command(code, {"mdmanage_main", line});
}

/// Whether /proc/mdstat lists the array. Not, when it cannot be read.
bool is_listed(const char* name) {
    const Capture capture("/tmp/mdstat.XXXXXX");
    ignore(capture.run_and_log(format_text(mdstat_command, capture.path())));
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
    explicit Reservation(const char* name) : name_(name), made_(!failed(add_name(name))) {}
    Reservation(const Reservation&) = delete;
    Reservation& operator=(const Reservation&) = delete;
    ~Reservation() {
        // One that was refused is another process's.
        if (made_) {
            ignore(del_name(name_));
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
        return fail(Code::name_not_reserved);
    }
    mdinfo array;
    array.name = arguments.name;
    array.type = type;
    array.members = arguments.operand;
    array.device = arguments.device != nullptr ? arguments.device : "";
    array.status = (arguments.mode & foreground_bit) != 0 ? foreground_status : "";
    const Code result = create_array(array, standard_output());
    if (result == Code::command_failed) {
        // mdadm may have failed after the array was there.
        return is_listed(arguments.name) ? created_with_error : fail(Code::array_not_created);
    }
    return !failed(result) ? 0 : fail(result);
}

int create(const Arguments& arguments) {
    if (failed(check_name32(arguments.name))) {
        return fail(Code::bad_array_name);
    }
    const std::string type = raid_type_of(arguments.level != nullptr ? arguments.level : "");
    if (type.empty()) {
        return fail(Code::bad_raid_level);
    }
    if (arguments.device != nullptr && failed(check_name8(arguments.device))) {
        return fail(Code::bad_device);
    }
    // A list that the record would cut could end in another channel.
    if (failed(check_number_list(arguments.operand)) ||
        std::string_view(arguments.operand).size() > decltype(mdinfo::members)::capacity) {
        return fail(Code::bad_channel);
    }
    return create_reserved(arguments, type);
}

/// Leaves only the array of that name in the list. 0 or a code.
Code choose_array(mdinfo_list& arrays, const char* name) {
    if (failed(check_name32(name))) {
        return Code::bad_array_name;
    }
    const mdinfo* found = find_array(arrays, name);
    if (found == nullptr) {
        return Code::no_such_array;
    }
    auto chosen = std::make_unique<mdinfo>(*found);
    arrays.clear();
    arrays.append(std::move(chosen));
    return Code::ok;
}

int display(const Arguments& arguments) {
    mdinfo_list arrays;
    if (failed(get_mdinfo(arrays, standard_output()))) {
        return fail(Code::no_array_list);
    }
    if (arguments.name != nullptr) {
        if (const Code result = choose_array(arrays, arguments.name); failed(result)) {
            return fail(result);
        }
    }
    // The table is printed with kernel names when there are no channels to print.
    const Code result = disks_to_ch(arrays, standard_output());
    std::puts("raidname\ttype\tstatus\tprogress\tdevice\tallsize\tusedsize\tchannel\tspare");
    std::puts("*******************************************************");
    mdinfo_list_display(&arrays);
    return !failed(result) ? 0 : fail(result);
}

/// 0, or the code for an operand or a channel that is none.
Code check_member_arguments(const Arguments& arguments, const char* channel) {
    if (failed(check_name32(arguments.operand))) {
        return Code::bad_array_name;
    }
    return !failed(check_number_list(channel)) ? Code::ok : Code::bad_channel;
}

int add_member(const Arguments& arguments) {
    if (const Code result = check_member_arguments(arguments, arguments.added_channel);
        failed(result)) {
        return fail(result);
    }
    if (const Code result = check_raid_state(arguments.operand, standard_output());
        failed(result)) {
        return fail(result);
    }
    const Code result = add_disk(arguments.operand, arguments.added_channel, standard_output());
    if (!failed(result)) {
        return 0;
    }
    return fail(result == Code::command_failed ? Code::disk_not_added : result);
}

int remove_member(const Arguments& arguments) {
    if (const Code result = check_member_arguments(arguments, arguments.removed_channel);
        failed(result)) {
        return fail(result);
    }
    const Code result =
        remove_disk(arguments.operand, arguments.removed_channel, standard_output());
    if (!failed(result)) {
        return 0;
    }
    return fail(result == Code::command_failed ? Code::disk_not_removed : result);
}

int recover(const Arguments& arguments) {
    if (failed(check_name32(arguments.name))) {
        return fail(Code::bad_array_name);
    }
    const auto type = get_raid_type(arguments.name, standard_output());
    // An array whose level mdadm does not tell would be created again as a stripe.
    if (!type || type->empty()) {
        return fail(Code::bad_array_name);
    }
    const Code result = raid_recover(arguments.name, type->c_str(), standard_output());
    return failed(result) ? fail(result) : 0;
}

/// Clears the disks that an array has left, each found once more by its channel and device.
void prepare_former_members(const disk_list& members) {
    for (const disk_info& member : members) {
        disk_place_show(member, standard_output());
        disk_list disks;
        disk_list found;
        if (failed(get_disk_list(disks, standard_output()))) {
            log_failure(Code::no_disk_list);
        } else if (!failed(find_disk(disks, found, member.channel, member.device))) {
            disk_format(found.begin()->name.c_str());
        }
    }
}

int remove_array(const Arguments& arguments) {
    if (failed(check_name32(arguments.name))) {
        return fail(Code::bad_array_name);
    }
    ignore(del_name(arguments.name));
    disk_list members;
    if (const Code result = get_disks_from_md(arguments.name, members, standard_output());
        failed(result)) {
        return fail(result);
    }
    if (const Code result = check_delete(arguments.name, standard_output()); failed(result)) {
        // The tool that lists the groups failed: the array runs on.
        return fail(result == Code::command_failed ? Code::array_not_stopped : result);
    }
    if (failed(stop_array(arguments.name)) && is_listed(arguments.name)) {
        return fail(Code::array_not_stopped);
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
