// SPDX-License-Identifier: MIT
#include "actions/commands/arrays.h"

#include "actions/arrays/changes.h"
#include "actions/arrays/creation.h"
#include "actions/arrays/name_reservation.h"
#include "actions/arrays/recovery.h"
#include "actions/commands/command_log.h"
#include "actions/disks/claims.h"
#include "actions/disks/disks.h"
#include "base/checks.h"
#include "base/command.h"
#include "base/text.h"
#include "inventory/arrays.h"
#include "inventory/disks.h"
#include "records/raid_level.h"
#include "sources/mdadm.h"
#include "sources/mdstat.h"

#include <string>
#include <string_view>
#include <vector>

namespace zav::commands {

namespace {

constexpr CommandLog mdmanage("mdmanage_main");

/// Whether /proc/mdstat lists the array. That of a kernel is never empty: then, and when it cannot
/// be captured, nothing is known.
Presence listing(const char* name, Sink& out) {
    const Capture capture("/tmp/mdstat.XXXXXX");
    const WaitStatus status = capture.run_and_log(format_text(mdstat_command, capture.path()));
    const auto mdstat = capture.read();
    if (!mdstat) {
        out.print("cannot open %s\n", capture.path());
        return Presence::unknown;
    }
    if (mdstat_lists(*mdstat, name)) {
        return Presence::present;
    }
    return failed(status) || mdstat->empty() ? Presence::unknown : Presence::absent;
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

Code create_reserved(const NewArrayArguments& arguments, const std::string& type, Sink& out) {
    const Reservation reservation(arguments.name);
    if (!reservation) {
        return mdmanage.fail(Code::name_not_reserved);
    }
    mdinfo array;
    array.name = arguments.name;
    array.type = type;
    array.members = arguments.channels;
    array.device = arguments.device != nullptr ? arguments.device : "";
    array.status = arguments.is_made_at_once ? foreground_status : "";
    const Code result = zav::create_array(array, out);
    if (result == Code::command_failed) {
        // mdadm may have failed after the array was there.
        return listing(arguments.name, out) == Presence::present
                   ? result
                   : mdmanage.fail(Code::array_not_created);
    }
    return mdmanage.end(result);
}

/// The code for an invalid name or channel.
Code check_member_arguments(const MemberArguments& arguments) {
    if (failed(check_name32(arguments.array))) {
        return Code::bad_array_name;
    }
    return !failed(check_number_list(arguments.channel)) ? Code::ok : Code::bad_channel;
}

/// Clears the disks that an array has left, each found once more by its channel and device.
void prepare_former_members(const disk_list& members, Sink& out) {
    for (const disk_info& member : members) {
        disk_place_show(member, out);
        disk_list disks;
        disk_list found;
        if (failed(get_disk_list(disks, out))) {
            log_failure(Code::no_disk_list);
        } else if (!failed(find_disk(disks, found, member.channel, member.device))) {
            disk_format_unless(found.begin()->name.c_str());
        }
    }
}

/// Claims the disks of an array that are to be cleared, and the array itself, on which a group may
/// be about to be made. Code::ok or a code.
Code claim_array(const char* name, const disk_list& members, DiskClaims& claims) {
    std::vector<std::string_view> disks;
    for (const disk_info& member : members) {
        disks.push_back(member.name);
    }
    if (!claims.add_all(disks)) {
        return Code::array_not_stopped;
    }
    return claims.add(name) ? Code::ok : Code::array_carries_group;
}

} // namespace

Code create_array(const NewArrayArguments& arguments, Sink& out) {
    if (failed(check_name32(arguments.name))) {
        return mdmanage.fail(Code::bad_array_name);
    }
    const std::string type = raid_type_of(arguments.level != nullptr ? arguments.level : "");
    if (type.empty()) {
        return mdmanage.fail(Code::bad_raid_level);
    }
    if (arguments.device != nullptr && failed(check_name8(arguments.device))) {
        return mdmanage.fail(Code::bad_device);
    }
    // A list that the record would cut could end in another channel.
    if (failed(check_number_list(arguments.channels)) ||
        std::string_view(arguments.channels).size() > decltype(mdinfo::members)::capacity) {
        return mdmanage.fail(Code::bad_channel);
    }
    return create_reserved(arguments, type, out);
}

Code add_member(const MemberArguments& arguments, Sink& out) {
    Code result = check_member_arguments(arguments);
    result = failed(result) ? result : check_raid_state(arguments.array, out);
    if (failed(result)) {
        return mdmanage.fail(result);
    }
    result = add_disk(arguments.array, arguments.channel, out);
    return mdmanage.end(result == Code::command_failed ? Code::disk_not_added : result);
}

Code remove_member(const MemberArguments& arguments, Sink& out) {
    if (const Code result = check_member_arguments(arguments); failed(result)) {
        return mdmanage.fail(result);
    }
    const Code result = remove_disk(arguments.array, arguments.channel, out);
    return mdmanage.end(result == Code::command_failed ? Code::disk_not_removed : result);
}

Code recover_array(const char* name, Sink& out) {
    if (failed(check_name32(name))) {
        return mdmanage.fail(Code::bad_array_name);
    }
    const auto type = get_raid_type(name, out);
    // An array whose level mdadm does not tell would be created again as a stripe.
    if (!type || type->empty()) {
        return mdmanage.fail(Code::bad_array_name);
    }
    return mdmanage.end(raid_recover(name, type->c_str(), out));
}

Code remove_array(const char* name, Sink& out) {
    if (failed(check_name32(name))) {
        return mdmanage.fail(Code::bad_array_name);
    }
    ignore(del_name(name));
    disk_list members;
    if (const Code result = get_disks_from_md(name, members, out); failed(result)) {
        return mdmanage.fail(result);
    }
    DiskClaims claims;
    if (const Code result = claim_array(name, members, claims); failed(result)) {
        return mdmanage.fail(result);
    }
    if (const Code result = check_delete(name, out); failed(result)) {
        // The tool that lists the groups failed: the array runs on.
        return mdmanage.fail(result == Code::command_failed ? Code::array_not_stopped : result);
    }
    if (failed(stop_array(name)) && listing(name, out) != Presence::absent) {
        return mdmanage.fail(Code::array_not_stopped);
    }
    prepare_former_members(members, out);
    return Code::ok;
}

} // namespace zav::commands
