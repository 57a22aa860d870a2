// SPDX-License-Identifier: MIT
#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/key_value.h"
#include "base/text.h"
#include "platform/models.h"
#include "platform/product_model.h"
#include "sources/meminfo.h"
#include "sources/pwstate.h"
#include "sources/vmstat.h"
#include "zav/system_status.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>

namespace zav {

namespace {

constexpr std::size_t model_size = 32;
constexpr std::size_t fan_value_size = 8;
constexpr std::size_t first_line_room = 256;

constexpr const char* identity_files[] = {"/etc/sys_info", "/etc/nas_base.conf"};
constexpr const char* host_name_file = "/etc/hostname";
constexpr const char* start_time_file = "/etc/nas_start_time.conf";

/// Where a model keeps its live state.
struct StateSource {
    const char* path;
    const char* section;
};

StateSource state_source(std::string_view model) {
    return is_server_family(model) ? StateSource{"/var/run/sys_state", "status"}
                                   : StateSource{"/tmp/nas_state.conf", "misc"};
}

template <std::size_t Count>
bool is_one_of(std::string_view model, const std::array<std::string_view, Count>& models) {
    return std::ranges::find(models, model) != models.end();
}

bool is_usable(const char* buffer, std::size_t size) {
    return buffer != nullptr && size > 0;
}

/// A value of the identity files, for `getter`.
int get_identity(char* buffer, std::size_t size, const char* section, const char* key,
                 int error_code, LogSite getter) {
    int result = file_error::not_opened;
    if (is_usable(buffer, size)) {
        buffer[0] = '\0';
        // The second file only when the text is empty, whatever the first one's result.
        for (const char* path : identity_files) {
            result = key_value_get(path, section, key, buffer, size);
            if (buffer[0] != '\0') {
                break;
            }
        }
    }
    return result == 0 ? 0 : fail_with_errno(error_code, getter);
}

/// The first line of a file. Opened for writing too: a file that may not be written is not read.
int get_first_line(const char* path, char* buffer, std::size_t size, int error_code,
                   LogSite getter) {
    const FileDescriptor fd = FileDescriptor::open(path, O_RDWR);
    const auto text = fd ? read_rest(fd.get()) : std::nullopt;
    const auto line = text ? get_line(*text, nullptr, 0, "", first_line_room) : std::nullopt;
    if (!line || !is_usable(buffer, size)) {
        return fail_with_errno(error_code, getter);
    }
    copy_bounded(buffer, size, std::string(*line).c_str());
    return 0;
}

int get_state(char* buffer, std::size_t size, const StateSource& source, const char* key,
              int error_code, LogSite getter) {
    const bool found = is_usable(buffer, size) &&
                       key_value_get(source.path, source.section, key, buffer, size) == 0;
    return found ? 0 : fail_with_errno(error_code, getter);
}

/// Reads the model for another getter, whose failure it then is too. 0 or devmodel_get()'s code.
int get_model(char (&model)[model_size], LogSite getter) {
    const int result = devmodel_get(model, model_size);
    return result == 0 ? 0 : fail_with_errno(result, getter);
}

/// The power state that the power tool prints: the first line's text after its last ":".
int get_power_from_tool(char* buffer, std::size_t size, LogSite getter) {
    const Capture capture("/tmp/pwstat.XXXXXX");
    if (capture.run_and_log(format_text(power_command, capture.path())) != 0) {
        return fail_with_errno(error::command_failed, getter);
    }
    const auto output = capture.read();
    const auto state = output ? parse_power_state(*output) : std::nullopt;
    if (!state || !is_usable(buffer, size)) {
        return fail_with_errno(error::power_tool_unread, getter);
    }
    buffer[0] = '\0';
    copy_bounded(buffer, size, std::string(*state).c_str());
    return 0;
}

/// The output of `command`, captured, turned into a percentage by `figure`.
int get_percentage(float* percent, const Capture& capture, const std::string& command,
                   std::optional<float> (*figure)(std::string_view), LogSite getter) {
    if (percent == nullptr) {
        return fail_with_errno(-1, getter);
    }
    *percent = 0.0F;
    const auto output = capture.run_and_log(command) == 0 ? capture.read() : std::nullopt;
    const auto value = output ? figure(*output) : std::nullopt;
    if (!value) {
        return fail_with_errno(-1, getter);
    }
    *percent = *value;
    return 0;
}

} // namespace

std::string product_model() {
    char model[model_size] = "";
    return devmodel_get(model, sizeof model) == 0 ? model : "";
}

} // namespace zav

using namespace zav;

int hostname_get(char* buffer, size_t size) {
    return get_first_line(host_name_file, buffer, size, error::host_name_unread, LogSite::here());
}

int starttime_get(char* buffer, size_t size) {
    return get_first_line(start_time_file, buffer, size, error::start_time_unread, LogSite::here());
}

int softversion_get(char* buffer, size_t size) {
    return get_identity(buffer, size, "version", "software", error::software_version_unread,
                        LogSite::here());
}

int hardversion_get(char* buffer, size_t size) {
    return get_identity(buffer, size, "version", "hardware", error::hardware_version_unread,
                        LogSite::here());
}

int devmodel_get(char* buffer, size_t size) {
    return get_identity(buffer, size, "product", "type", error::model_unread, LogSite::here());
}

int tmp_get(char* buffer, size_t size) {
    char model[model_size] = "";
    if (const int result = get_model(model, LogSite::here()); result != 0) {
        return result;
    }
    const bool has_one_sensor =
        model == std::string_view("KOR7206LB") || model == std::string_view("VEL7205P");
    return get_state(buffer, size, state_source(model), has_one_sensor ? "temp" : "temp(cpu)",
                     error::temperature_unread, LogSite::here());
}

int fan_speed_get(char* buffer) {
    if (buffer == nullptr) {
        return fail_with_errno(error::fan_speed_unread);
    }
    buffer[0] = '\0';
    char model[model_size] = "";
    if (const int result = get_model(model, LogSite::here()); result != 0) {
        return result;
    }
    const auto fans = fan_count(model);
    if (!fans) {
        return fail_with_errno(error::fan_speed_unread);
    }
    const StateSource source = state_source(model);
    std::string speeds;
    for (int fan = 1; fan <= *fans; ++fan) {
        const std::string key = format_text("fan%d", fan);
        char value[fan_value_size] = "";
        if (key_value_get(source.path, source.section, key.c_str(), value, sizeof value) == 0) {
            speeds += format_text("%s%s:%s", speeds.empty() ? "" : ",", key.c_str(), value);
        }
    }
    copy_bounded(buffer, ZAV_FAN_SPEED_SIZE, speeds.c_str());
    return 0;
}

int systime_get(char* buffer, size_t size) {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    if (!is_usable(buffer, size) || ::localtime_r(&now, &local) == nullptr) {
        return fail_with_errno(error::time_unread);
    }
    if (std::strftime(buffer, size, "%Y-%m-%d %T", &local) == 0) {
        buffer[0] = '\0'; // what did not fit is not terminated
        return fail_with_errno(error::time_unread);
    }
    return 0;
}

int pwstate_get(char* buffer, size_t size) {
    constexpr std::array<std::string_view, 3> with_file = {"VEL7205X", "VEL7206X", "VEL7205U"};
    constexpr std::array<std::string_view, 2> with_tool = {"VEL7205E", "VEL7205P"};
    char model[model_size] = "";
    if (const int result = get_model(model, LogSite::here()); result != 0) {
        return result;
    }
    if (is_server_family(model) || is_one_of(model, with_file)) {
        return get_state(buffer, size, state_source(model), "power", error::power_unread,
                         LogSite::here());
    }
    return is_one_of(model, with_tool) ? get_power_from_tool(buffer, size, LogSite::here()) : 0;
}

int get_mem_utility(float* percent) {
    const Capture capture("/tmp/meminfo.XXXXXX");
    return get_percentage(percent, capture, format_text(meminfo_command, capture.path()),
                          memory_in_use, LogSite::here());
}

int get_cpu_utility(float* percent) {
    const Capture capture("/tmp/vmstat.XXXXXX");
    return get_percentage(percent, capture, format_text(vmstat_command, capture.path()),
                          processor_in_use, LogSite::here());
}
