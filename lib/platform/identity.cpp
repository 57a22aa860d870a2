// SPDX-License-Identifier: MIT
// Who the appliance is: its name, versions, model, and the time.
#include "base/codes.h"
#include "base/file.h"
#include "base/key_value.h"
#include "base/log.h"
#include "base/text.h"
#include "zav/system_status.h"

#include <ctime>
#include <exception>
#include <fcntl.h>

namespace zav {

namespace {

constexpr std::size_t first_line_room = 256;

constexpr const char* identity_files[] = {"/etc/sys_info", "/etc/nas_base.conf"};
constexpr const char* host_name_file = "/etc/hostname";
constexpr const char* start_time_file = "/etc/nas_start_time.conf";

/// A value of the identity files, for `getter`.
int get_identity(char* buffer, std::size_t size, const char* section, const char* key, Code failure,
                 LogSite getter) {
    FileCode result = FileCode::not_opened;
    if (has_room_for_text(buffer, size)) {
        buffer[0] = '\0';
        // The second file only when the text is empty, whatever the first one's result.
        for (const char* path : identity_files) {
            result = key_value_get(path, section, key, buffer, size);
            if (buffer[0] != '\0') {
                break;
            }
        }
    }
    return failed(result) ? number_of(fail_with_errno(failure, getter)) : 0;
}

/// The first line of a file. Opened for writing too: a file that may not be written is not read.
int get_first_line(const char* path, char* buffer, std::size_t size, Code failure, LogSite getter) {
    const FileDescriptor fd = FileDescriptor::open_regular(path, O_RDWR);
    const auto text = fd ? read_rest(fd.get()) : std::nullopt;
    const auto line = text ? get_line(*text, nullptr, 0, "", first_line_room) : std::nullopt;
    if (!line || !has_room_for_text(buffer, size)) {
        return number_of(fail_with_errno(failure, getter));
    }
    copy_bounded(buffer, size, std::string(*line).c_str());
    return 0;
}

} // namespace

} // namespace zav

using namespace zav;

int hostname_get(char* buffer, size_t size) try {
    return get_first_line(host_name_file, buffer, size, Code::host_name_unread, LogSite::here());
} catch (const std::exception&) {
    return fail_without_memory(Code::host_name_unread);
}

int starttime_get(char* buffer, size_t size) try {
    return get_first_line(start_time_file, buffer, size, Code::start_time_unread, LogSite::here());
} catch (const std::exception&) {
    return fail_without_memory(Code::start_time_unread);
}

int softversion_get(char* buffer, size_t size) try {
    return get_identity(buffer, size, "version", "software", Code::software_version_unread,
                        LogSite::here());
} catch (const std::exception&) {
    return fail_without_memory(Code::software_version_unread);
}

int hardversion_get(char* buffer, size_t size) try {
    return get_identity(buffer, size, "version", "hardware", Code::hardware_version_unread,
                        LogSite::here());
} catch (const std::exception&) {
    return fail_without_memory(Code::hardware_version_unread);
}

int devmodel_get(char* buffer, size_t size) try {
    return get_identity(buffer, size, "product", "type", Code::model_unread, LogSite::here());
} catch (const std::exception&) {
    return fail_without_memory(Code::model_unread);
}

int systime_get(char* buffer, size_t size) try {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    if (!has_room_for_text(buffer, size) || ::localtime_r(&now, &local) == nullptr) {
        return number_of(fail_with_errno(Code::time_unread));
    }
    if (std::strftime(buffer, size, "%Y-%m-%d %T", &local) == 0) {
        buffer[0] = '\0'; // what did not fit is not terminated
        return number_of(fail_with_errno(Code::time_unread));
    }
    return 0;
} catch (const std::exception&) {
    return fail_without_memory(Code::time_unread);
}
