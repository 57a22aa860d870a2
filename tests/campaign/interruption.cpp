// SPDX-License-Identifier: MIT
#include "interruption.h"

#include "actions.h"
#include "base/change_journal.h"
#include "base/codes.h"
#include "campaign/undisturbed.h"

#include <algorithm>
#include <array>
#include <regex>

namespace zav::campaign {

using namespace test;

namespace {

// A journal, what a replacement keeps beside a file, or a file that is not yet in its place.
bool is_auxiliary(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    return name.starts_with('.') &&
           (name.ends_with(".zav") || name.ends_with(".old") || name.ends_with(".new"));
}

// What the complete journals are about to make of files.
std::map<std::string, std::string> pending_texts(const TracedAppliance& appliance) {
    static const std::regex date("(:pub\\.)[0-9]{14}");
    std::map<std::string, std::string> pending;
    for (const auto& [path, unused] : appliance.state()) {
        if (!is_auxiliary(path) || !path.ends_with(".zav")) {
            continue;
        }
        // The date of a target, which the state leaves out, counts in the journal's sum.
        for (const JournalEntry& entry :
             parse_journal(appliance.read(path)).value_or(std::vector<JournalEntry>())) {
            pending[entry.path] = std::regex_replace(entry.text, date, "$1DATE");
        }
    }
    return pending;
}

// Whether a code says that there is nothing left to do, or that the rest is to be removed first.
bool says_done(int printed) {
    constexpr std::array codes = {
#define ZAV_DONE(name) Code::name,
#include "campaign/done_codes.def"
#undef ZAV_DONE
    };
    return std::any_of(codes.begin(), codes.end(),
                       [printed](Code code) { return number_of(code) == printed; });
}

// What an action that was killed leaves as it is when it is given again, and why.
bool is_kept(const std::string& action, const std::string& path) {
    // What is not registered any more is not looked for: lvmanage removes the pool.
    const bool is_unregistered = action.starts_with("fsmanage-delete") && path == "/state/pools";
    // A substitute for the lost volume is made once more, which LVM would refuse.
    const bool is_made_again = action.ends_with("-restored") && path == "/state/volumes";
    return is_unregistered || is_made_again;
}

// A product whose identity cannot be read for a moment is the unknown one, whose type is another.
bool is_of_unknown_product(const std::string& action, const std::string& path) {
    return action.find("-reiserfs") != std::string::npos &&
           (path == "/etc/netfstab" || path == "/etc/mdfstab" || path == "/proc/mounts");
}

// What a failure changes without a failure status, as each action's last steps are ignored; the log
// tells of it.
bool is_untold(const std::string& action, const std::string& path) {
    // An entry that a deletion leaves, one that a share lacks which is mounted all the same, and a
    // mount point that stays, are no failure.
    constexpr std::array mounting = {"sharemanage-use", "sharemanage-restore",
                                     "sharemanage-repair"};
    const bool is_register = path == "/etc/mdfstab" || path == "/etc/netfstab";
    const bool is_untold_entry =
        is_register && (action.find("-delete") != std::string::npos ||
                        std::any_of(mounting.begin(), mounting.end(), [&action](const char* name) {
                            return action.starts_with(name);
                        }));
    const bool is_of_mounts =
        is_untold_entry || path.starts_with("/mnt/") || path.starts_with("/home/ftpuser/");
    // A disk is initialised whether or not its array lets it go.
    const bool is_of_init = action == "diskmanage-init-member" && path == "/proc/mdstat";
    // A list of hot spares that the tool did not change, and a group that the tool did not remove
    // but whose volumes it released, are told by the log alone; a group that was not made, by the
    // output.
    const bool is_of_tool =
        (action.starts_with("diskmanage-hotspare") && path == "/state/hotspares") ||
        ((action.starts_with("vgmanage-create") || action.starts_with("vgmanage-delete")) &&
         (path == "/state/groups" || path == "/state/volumes")) ||
        (action.starts_with("vgmanage-delete") && path.starts_with("/etc/lvm/backup/"));
    return is_of_mounts || is_of_init || is_of_tool || is_kept(action, path) ||
           is_of_unknown_product(action, path);
}

// Refusals of what is there in part, each the documented one.
bool is_refused_again(const Disturbance& how, int printed) {
    const auto ends_with = [printed](Code code) { return number_of(code) == printed; };
    // The array is stopped, and mdadm has not made it again: it is in no list.
    const bool is_stopped =
        how.action.starts_with("mdmanage-recover") && ends_with(Code::bad_array_name);
    // What is mounted without being registered is not cleared; what is not mounted is not found
    // without the system's links by label.
    const bool is_network_disk =
        (how.action.starts_with("netmanage-create") && ends_with(Code::fs_not_made)) ||
        (how.action.starts_with("netmanage-repair") && ends_with(Code::fs_not_repaired));
    return is_stopped || is_network_disk;
}

std::string joined(const Texts& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : ", ") + text;
    }
    return all;
}

} // namespace

std::map<std::string, Recording> record_actions(const CampaignOptions& options) {
    constexpr int one_of = 12;
    const std::string wanted = options.only.substr(0, options.only.find(','));
    std::map<std::string, Recording> recordings;
    int number = 0;
    for (const Action& action : actions()) {
        const bool is_wanted = action.name.find(wanted) != std::string::npos;
        if (!action.is_listing() && is_wanted && (!options.sample || number++ % one_of == 0)) {
            recordings.emplace(action.name, record(action.name));
        }
    }
    return recordings;
}

Figure run_interruptions(const CampaignOptions& options, const std::string& part,
                         const std::string& what,
                         const std::map<std::string, Recording>& recordings,
                         const std::vector<Disturbance>& ways) {
    constexpr size_t sampled = 20;
    std::vector<Case> cases;
    for (const Disturbance& how : ways) {
        cases.push_back({how.described(), [&recordings, &how] {
                             return Interruption(recordings.at(how.action), how).check();
                         }});
    }
    return run_cases(options, part, what, cases, (cases.size() + sampled - 1) / sampled);
}

Interruption::Interruption(const Recording& recording, const Disturbance& how)
    : recording_(recording), how_(how), appliance_(how.action) {}

Texts Interruption::check() {
    const test::Result first = appliance_.run_disturbed(how_);
    check_files("after the disturbance");
    check_status(first);
    if (!is_kill()) {
        check_left_over();
    }
    const test::Result second = appliance_.run_plain();
    check_again(first, second);
    if (!wrong_.empty()) {
        for (const LogLine& line : appliance_.log()) {
            note("log: " + line.text);
        }
    }
    return wrong_;
}

bool Interruption::may_leave_lock() const {
    return is_kill() || how_.call == "unlink" || how_.call == "rmdir" || how_.call == "flock" ||
           how_.call == "newfstatat";
}

State Interruption::settled_state() const {
    State state = appliance_.state();
    for (const auto& [path, text] : pending_texts(appliance_)) {
        state[path] = text;
    }
    std::erase_if(state, [](const auto& entry) { return is_auxiliary(entry.first); });
    return state;
}

bool Interruption::is_known(const std::string& path, const std::string& content) const {
    const auto before = recording_.before.find(path);
    const auto after = recording_.after.find(path);
    const bool was_there = before != recording_.before.end();
    static const std::regex type("\\txfs\\t");
    if (is_of_unknown_product(how_.action, path) &&
        recording_.texts.contains(std::regex_replace(content, type, "\treiserfs\t"))) {
        return true;
    }
    return (was_there && before->second == content) ||
           (after != recording_.after.end() && after->second == content) ||
           (!was_there && content.empty()) || recording_.texts.contains(content);
}

void Interruption::check_files(const std::string& when) {
    const State state = appliance_.state();
    const std::map<std::string, std::string> pending = pending_texts(appliance_);
    const auto has_known_journal = [&](const std::string& path) {
        const auto found = pending.find(path);
        return found != pending.end() && is_known(path, found->second);
    };
    for (const auto& [path, content] : state) {
        if (path.starts_with("/etc/") && !is_auxiliary(path) && !is_known(path, content) &&
            !has_known_journal(path)) {
            note(when + " " + path + " holds \"" + content + "\"");
        }
    }
    for (const auto& [path, content] : recording_.before) {
        if (path.starts_with("/etc/") && !state.contains(path) && recording_.after.contains(path) &&
            !has_known_journal(path)) {
            note(when + " " + path + " is gone");
        }
    }
}

void Interruption::check_left_over() {
    const bool is_removal = how_.call == "unlink" || how_.call == "rmdir";
    const bool is_pending = !pending_texts(appliance_).empty();
    for (const std::string& path : appliance_.leftovers()) {
        // A name that could not be released is there for the next one to take over.
        const bool is_dead_lock = path.starts_with("/run/zavbox/mdname-") ||
                                  (path.starts_with("/run/") && may_leave_lock());
        // What cannot be read of the list of pools is kept for support.
        const bool is_kept_output =
            path.starts_with("/tmp/lvdisplay.") &&
            (how_.call == "openat" || how_.call == "newfstatat" || how_.call == "read");
        if (!is_removal && !is_dead_lock && !is_kept_output &&
            !(is_auxiliary(path) && is_pending)) {
            note("left over: " + path);
        }
    }
}

void Interruption::remove_untold(Texts& paths) const {
    if (!appliance_.log().empty()) {
        std::erase_if(paths,
                      [this](const std::string& path) { return is_untold(how_.action, path); });
    }
}

void Interruption::check_status(const test::Result& result) {
    if (is_kill()) {
        if (result.signal != SIGKILL) {
            note("the run was not killed, but ended with " + std::to_string(result.exit_status));
        }
        return;
    }
    if ((result.signal != 0 || result.exit_status < 0)) {
        note("the run was ended by signal " + std::to_string(result.signal));
    }
    if (result.exit_status != 0) {
        return;
    }
    Texts different = differences(settled_state(), recording_.after);
    is_done_ = different.empty();
    remove_untold(different);
    if (!different.empty()) {
        note("status 0, but different: " + joined(different));
    }
}

void Interruption::check_again(const test::Result& first, const test::Result& second) {
    const auto code = printed_code(second);
    const bool has_succeeded = second.exit_status == 0 && !code;
    const bool is_good = has_succeeded
                             ? !is_done_ || appliance_.code_again() == 0
                             : code && (*code == appliance_.code_again() || says_done(*code) ||
                                        is_refused_again(how_, *code));
    if (!is_good) {
        note("first " + std::to_string(first.exit_status) + ", the same again " +
             std::to_string(second.exit_status) + ": " + second.out);
    }
    check_files("after the same again");
    const bool is_pending = !pending_texts(appliance_).empty();
    for (const std::string& path : appliance_.leftovers()) {
        // The lock of a killed run is nobody's: the next one that needs it takes it over.
        const bool is_dead_lock = path.starts_with("/run/") && may_leave_lock();
        if (!path.starts_with("/tmp/") && !is_dead_lock && !(is_auxiliary(path) && is_pending)) {
            note("left over after the same again: " + path);
        }
    }
    Texts different = differences(settled_state(), recording_.after);
    if (is_kill()) {
        std::erase_if(different,
                      [this](const std::string& path) { return is_kept(how_.action, path); });
    } else {
        remove_untold(different);
    }
    if (second.exit_status == 0 && !different.empty()) {
        note("the same again ended with 0, but different: " + joined(different));
    }
}

} // namespace zav::campaign
