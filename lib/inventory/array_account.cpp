// SPDX-License-Identifier: MIT
#include "inventory/array_account.h"

#include "base/file.h"
#include "base/text.h"
#include "records/raid_level.h"
#include "sources/sys_block.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace zav {

namespace {

using namespace std::string_view_literals;

constexpr std::array running_states = {"clean"sv,       "active"sv,   "write-pending"sv,
                                       "active-idle"sv, "readonly"sv, "read-auto"sv,
                                       "suspended"sv};

/// An attribute without the white space at its end; nothing when it cannot be read.
std::optional<std::string> attribute(const std::string& directory, std::string_view name) {
    auto text = read_attribute_file((directory + "/").append(name).c_str());
    if (text) {
        text->resize(text->find_last_not_of(white_space) + 1);
    }
    return text;
}

/// One that not every array has, `fallback` then; nothing when it cannot be read.
std::optional<std::string> attribute_or(const std::string& directory, std::string_view name,
                                        const char* fallback) {
    auto text = attribute(directory, name);
    return text || !is_absence(errno) ? text : std::optional<std::string>(fallback);
}

/// The entries of the members that take part: with a mark such as write_mostly as well. Nothing
/// when they cannot be told.
std::optional<std::vector<std::string>> members_in_sync(const std::string& directory) {
    constexpr std::string_view member_entry = "dev-";
    const auto entries = directory_entries(directory.c_str());
    if (!entries) {
        return std::nullopt;
    }
    std::vector<std::string> members;
    for (const std::string& entry : *entries) {
        if (!entry.starts_with(member_entry)) {
            continue;
        }
        const auto state = attribute(directory, entry + "/state");
        if (!state && !is_absence(errno)) {
            return std::nullopt;
        }
        const auto marks = split(state ? std::string_view(*state) : "", ",");
        if (std::ranges::find(marks, "in_sync") != marks.end() &&
            std::ranges::find(marks, "faulty") == marks.end()) {
            members.push_back(entry);
        }
    }
    return members;
}

/// Whether the disk of a member was pulled out, which an array that writes nothing does not notice:
/// the link to it leads nowhere.
bool is_pulled(const std::string& directory, const std::string& entry) {
    const std::string link = directory + "/" + entry + "/block";
    struct stat status = {};
    return ::lstat(link.c_str(), &status) == 0 && ::stat(link.c_str(), &status) != 0;
}

/// How many members the level does without; nothing for a level that is not known.
std::optional<int> tolerated_losses(std::string_view type, int raid_disks) {
    if (type == raid_type::raid1) {
        return raid_disks - 1;
    }
    const RaidLevel* level = find_raid_level(type);
    return level != nullptr ? std::optional(level->tolerated_losses.value_or(0)) : std::nullopt;
}

} // namespace

ArrayAccount array_account(std::string_view array, std::string_view type) {
    if (!is_plain_name(array)) {
        return ArrayAccount::none;
    }
    const std::string directory = format_text(array_directory_path, std::string(array).c_str());
    const auto state = attribute(directory, "array_state");
    if (!state) {
        return is_absence(errno) ? ArrayAccount::none : ArrayAccount::unread;
    }
    if (*state == "broken") {
        return ArrayAccount::lost;
    }
    const auto level = attribute_or(directory, "level", "");
    const auto slots = attribute_or(directory, "raid_disks", "");
    const auto members = members_in_sync(directory);
    if (!level || !slots || !members) {
        return ArrayAccount::unread;
    }
    const int raid_disks = decimal_int(*slots);
    // An array that was assembled in part and never started has no number of disks yet.
    if (raid_disks == 0) {
        return ArrayAccount::unclear;
    }
    const int in_sync = static_cast<int>(members->size());
    const auto losses =
        tolerated_losses(level->empty() ? type : std::string_view(*level), raid_disks);
    const bool has_all = in_sync >= raid_disks;
    const bool has_enough = has_all || (losses && raid_disks - in_sync <= *losses);
    const bool is_running = std::ranges::find(running_states, *state) != running_states.end();
    if (!is_running && !has_enough) {
        return ArrayAccount::lost;
    }
    if (!is_running || (!has_enough && !losses)) {
        return ArrayAccount::unclear;
    }
    if (!has_enough) {
        return ArrayAccount::lost;
    }
    const auto degraded = attribute_or(directory, "degraded", has_all ? "0" : "");
    if (!degraded) {
        return ArrayAccount::unread;
    }
    const bool is_complete =
        *degraded == "0" && std::ranges::none_of(*members, [&directory](const std::string& entry) {
            return is_pulled(directory, entry);
        });
    return is_complete ? ArrayAccount::complete : ArrayAccount::runs;
}

bool may_be_given_up(std::string_view array, std::string_view type) {
    const ArrayAccount account = array_account(array, type);
    return account == ArrayAccount::none || account == ArrayAccount::lost;
}

} // namespace zav
