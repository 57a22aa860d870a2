// SPDX-License-Identifier: MIT
#include "inventory/smart.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/text.h"
#include "platform/models.h"
#include "sources/smartctl.h"
#include "sources/vexadm.h"

namespace zav {

namespace {

constexpr char summary_template[] = "/tmp/smart_%s.XXXXXX";
constexpr char attributes_template[] = "/tmp/smart_%s_detail.XXXXXX";

/// Whether a disk's name is one. For another, `command` is logged as if it had failed.
bool has_name(const char* disk, const std::string& command) {
    if (is_disk_name(disk)) {
        return true;
    }
    ignore(refuse_command(command, no_disk_name));
    return false;
}

template <class Parse>
Code read_output(Capture& capture, WaitStatus status, Code unread, Parse parse,
                 LogSite reader = LogSite::here()) {
    std::string output;
    const Code result = capture.read_or_fail(output, status, unread, reader);
    if (!failed(result)) {
        parse(output);
    }
    return result;
}

Code fill_disk(disk_info& disk, SmartMode mode, bool behind_controller) {
    // The RAID controller's disks have no names to ask smartctl for.
    const bool has_summary = !behind_controller || !disk.name.empty();
    const Code result = has_summary ? get_smart(disk.name.c_str(), disk.smart) : Code::ok;
    if (mode == SmartMode::summary) {
        return result;
    }
    const Code detail_result = behind_controller
                                   ? get_smart_from_vexadm(disk.channel, disk.smart_attributes)
                                   : get_smart_detail(disk.name.c_str(), disk.smart_attributes);
    return failed(result) ? result : detail_result;
}

/// Whether the shell found no such tool, or could not be started itself.
bool is_missing(WaitStatus status) {
    constexpr WaitStatus not_found{127 << 8};
    return status == not_found || status == WaitStatus::not_started;
}

/// All of a disk's health by one run of smartctl.
Code get_smart_at_once(disk_info& disk) {
    const char* name = disk.name.c_str();
    const std::string path = format_text(attributes_template, name);
    if (!has_name(name, format_text(smart_attributes_command, name, path.c_str()))) {
        return Code::ok;
    }
    Capture capture(path);
    const std::string command = format_text(smart_attributes_command, name, capture.path());
    const WaitStatus status = capture.run(command);
    if (is_missing(status)) {
        log_command_failure(command, status);
        return Code::command_failed;
    }
    return read_output(capture, status, Code::smart_unread, [&disk](std::string_view output) {
        disk.smart = parse_smart_summary(output);
        parse_smart_attributes(output, disk.smart_attributes);
    });
}

} // namespace

Code fill_smart_at_once(disk_list& list) {
    const bool behind_controller = product_model().has_raid_controller;
    Code first_failure = Code::ok;
    for (disk_info& disk : list) {
        if (disk.model == virtual_disk_model) {
            continue;
        }
        const Code result =
            behind_controller ? fill_disk(disk, SmartMode::detail, true) : get_smart_at_once(disk);
        first_failure = failed(first_failure) ? first_failure : result;
        if (result == Code::command_failed) {
            break; // for the others it would be the same
        }
    }
    return first_failure;
}

Code fill_smart(disk_list& list, SmartMode mode) {
    const bool behind_controller = product_model().has_raid_controller;
    Code first_failure = Code::ok;
    for (disk_info& disk : list) {
        if (disk.model == virtual_disk_model) {
            continue;
        }
        const Code result = fill_disk(disk, mode, behind_controller);
        first_failure = failed(first_failure) ? first_failure : result;
    }
    return first_failure;
}

Code get_smart(const char* disk, smart_summary& summary) {
    const std::string path = format_text(summary_template, disk);
    if (!has_name(disk, format_text(smart_summary_command, disk, path.c_str()))) {
        return Code::ok;
    }
    Capture capture(path);
    const WaitStatus status = capture.run(format_text(smart_summary_command, disk, capture.path()));
    return read_output(capture, status, Code::smart_unread, [&summary](std::string_view output) {
        summary = parse_smart_summary(output);
    });
}

Code get_smart_detail(const char* disk, smart_attribute_list& list) {
    const std::string path = format_text(attributes_template, disk);
    if (!has_name(disk, format_text(smart_attributes_command, disk, path.c_str()))) {
        return Code::ok;
    }
    Capture capture(path);
    const WaitStatus status =
        capture.run(format_text(smart_attributes_command, disk, capture.path()));
    return read_output(capture, status, Code::smart_attributes_unread,
                       [&list](std::string_view output) { parse_smart_attributes(output, list); });
}

Code get_smart_from_vexadm(int channel, smart_attribute_list& list) {
    Capture capture(format_text("/tmp/smart_%d_detail.XXXXXX", channel));
    const WaitStatus status =
        capture.run(format_text(controller_attributes_command, channel - 1, capture.path()));
    return read_output(
        capture, status, Code::smart_attributes_unread,
        [&list](std::string_view output) { parse_controller_attributes(output, list); });
}

} // namespace zav
