// SPDX-License-Identifier: MIT
// mdmanage: lists, creates, deletes and recovers arrays, adds disks to them and removes them.
#include "applets/mdmanage.h"

#include "actions/arrays/changes.h"
#include "actions/arrays/creation.h"
#include "actions/arrays/name_reservation.h"
#include "actions/arrays/recovery.h"
#include "actions/disks/claims.h"
#include "actions/disks/disks.h"
#include "applets/applet_table.h"
#include "applets/skeleton.h"
#include "applets/standard_output.h"
#include "applets/tables.h"
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
#include <vector>

namespace zav {

namespace {

int mdmanage_main(int argc, char** argv);

constexpr OptionRow options[] = {
    {.letter = 'C',
     .name = "create",
     .role = Role::mode,
     .operand = Argument::channels,
     .ways = {{"[--fg-init] -n raidname -l raidlevel -d dev channels",
               "create a raid with 'raidname' 'raidlevel' and 'channels' in 'device'"}}},
    {.letter = 'S',
     .name = "display",
     .role = Role::mode,
     .ways = {{"", "display all raid info"},
              {"-n raidname", "display a raid info specified by 'raidname'"}}},
    {.letter = 'D',
     .name = "delete",
     .role = Role::mode,
     .ways = {{"-n raidname", "delete a raid specified by 'raidname'"}}},
    {.letter = 'R',
     .name = "recover",
     .role = Role::mode,
     .ways = {{"-n raidname", "recover the raid in state of 'NOT START'"}}},
    {.letter = 'g', .name = "fg-init", .help = "intialize raid"},
    {.letter = 'n', .argument = Argument::array, .help = "specify raidname"},
    {.letter = 'l', .argument = Argument::level, .help = "specify raidlevel"},
    {.letter = 'd', .argument = Argument::device, .help = "specify a device"},
    // The first part of the usage has the effects of -a and -r swapped.
    {.letter = 'a',
     .argument = Argument::channel,
     .role = Role::open_mode,
     .refuses = "r",
     .operand = Argument::array,
     .ways = {{"channel raidname", "remove disk with 'channel' form the raid 'raidname'"}},
     .help = "add disk to raid"},
    {.letter = 'r',
     .argument = Argument::channel,
     .role = Role::open_mode,
     .operand = Argument::array,
     .ways = {{"channel raidname", "add disk with 'channel' to the raid 'raidname'"}},
     .help = "remove disk to raid"},
    // The front end's documentation quotes this line, although there is no such option.
    {.letter = 'c', .role = Role::only_shown, .help = "specify strip size"},
};

constexpr AppletTable table = {
    .name = "mdmanage",
    .main = mdmanage_main,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "SarDRC",
    .summary = "manage the raid info",
    .help_order = "dnlcgra",
};

constexpr std::uint32_t foreground_bit = option_bit(options, 'g');

struct Arguments {
    std::uint32_t mode = 0;
    const char* name = nullptr;
    const char* level = nullptr;
    const char* device = nullptr;
    const char* added_channel = nullptr;
    const char* removed_channel = nullptr;
    const char* operand = nullptr;
};

constexpr Fail fail("mdmanage_main");
constexpr End end(fail);

/// Whether /proc/mdstat lists the array. That of a kernel is never empty: then, and when it cannot
/// be captured, nothing is known.
Presence listing(const char* name) {
    const Capture capture("/tmp/mdstat.XXXXXX");
    const WaitStatus status = capture.run_and_log(format_text(mdstat_command, capture.path()));
    const auto mdstat = capture.read();
    if (!mdstat) {
        std::printf("cannot open %s\n", capture.path());
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
        return listing(arguments.name) == Presence::present ? created_with_error
                                                            : fail(Code::array_not_created);
    }
    return end(result);
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

/// Leaves only the array of that name in the list. Code::ok or a code.
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
    return end(result);
}

/// The code for an invalid operand or channel.
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
    return end(raid_recover(arguments.name, type->c_str(), standard_output()));
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
    DiskClaims claims;
    if (const Code result = claim_array(arguments.name, members, claims); failed(result)) {
        return fail(result);
    }
    if (const Code result = check_delete(arguments.name, standard_output()); failed(result)) {
        // The tool that lists the groups failed: the array runs on.
        return fail(result == Code::command_failed ? Code::array_not_stopped : result);
    }
    if (failed(stop_array(arguments.name)) && listing(arguments.name) != Presence::absent) {
        return fail(Code::array_not_stopped);
    }
    prepare_former_members(members);
    return 0;
}

constexpr Action<Arguments> actions[] = {
    {option_bit(options, 'C'), create},     {option_bit(options, 'S'), display},
    {option_bit(options, 'a'), add_member}, {option_bit(options, 'r'), remove_member},
    {option_bit(options, 'R'), recover},    {option_bit(options, 'D'), remove_array},
};

int mdmanage_main(int argc, char** argv) {
    Arguments arguments;
    arguments.mode = zav_getopt(argc, argv, mdmanage_applet.options,
                                {&arguments.name, &arguments.level, &arguments.device,
                                 &arguments.added_channel, &arguments.removed_channel});
    arguments.operand = optind < argc ? argv[optind] : nullptr;
    // Without a mode the status is the bits of what came before the unknown option.
    return run_action(actions, arguments.mode, arguments, static_cast<int>(arguments.mode));
}

} // namespace

void mdinfo_display(const mdinfo& array) {
    const bool is_linear = equal_ignoring_case(array.type, raid_type::linear);
    std::printf("%s\t%s\t%s\t%s\t%s\t%lldGB\t%lldGB\t%s\t%s\n", array.name.c_str(),
                is_linear ? "JBOD" : array.type.c_str(), array.status.c_str(),
                text_or(array.progress, "100%"), text_or(array.device, not_available),
                static_cast<long long>(array.allsize.count),
                static_cast<long long>(array.usedsize.count), array.members.c_str(),
                text_or(array.spare, "None"));
}

void mdinfo_list_display(const mdinfo_list* list) {
    show_list(list, mdinfo_display);
}

int mdinfo_list_destroy(mdinfo_list* list) {
    return destroy_list(list);
}

constexpr Applet mdmanage_applet = applet_of<table>();
constexpr AppletTable mdmanage_table = table;

} // namespace zav
