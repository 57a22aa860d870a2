// SPDX-License-Identifier: MIT
// How the appliance is: temperature, fans, power, use of memory and processor.
#include "base/codes.h"
#include "base/command.h"
#include "base/key_value.h"
#include "base/text.h"
#include "platform/models.h"
#include "sources/meminfo.h"
#include "sources/pwstate.h"
#include "sources/vmstat.h"
#include "zav/system_status.h"

#include <exception>

namespace zav {

namespace {

constexpr std::size_t fan_value_size = 8;
constexpr int no_figure = -1;

/// A value of the model's state file, for `getter`.
int get_state(char* buffer, std::size_t size, const Model& model, const char* key, Code failure,
              LogSite getter) {
    const ModelFamily& source = *model.family;
    const bool found =
        has_room_for_text(buffer, size) &&
        !failed(key_value_get(source.state_path, source.state_section, key, buffer, size));
    return found ? 0 : number_of(fail_with_errno(failure, getter));
}

/// Reads the model for another getter, which fails with it. 0 or devmodel_get()'s number.
int get_model(Model& model, LogSite getter) {
    char name[model_size] = "";
    const int result = devmodel_get(name, model_size);
    if (result != 0) {
        log_errno(result, getter);
        return result;
    }
    model = find_model(name);
    return 0;
}

/// The power state that the power tool prints.
int get_power_from_tool(char* buffer, std::size_t size, LogSite getter) {
    const Capture capture("/tmp/pwstat.XXXXXX");
    if (failed(capture.run_and_log(format_text(power_command, capture.path())))) {
        return number_of(fail_with_errno(Code::command_failed, getter));
    }
    const auto output = capture.read();
    const auto state = output ? parse_power_state(*output) : std::nullopt;
    if (!state || !has_room_for_text(buffer, size)) {
        return number_of(fail_with_errno(Code::power_tool_unread, getter));
    }
    buffer[0] = '\0';
    copy_bounded(buffer, size, std::string(*state).c_str());
    return 0;
}

/// The output of `command`, captured, turned into a percentage by `figure`. 0, or -1, logged.
int get_percentage(float* percent, const Capture& capture, const std::string& command,
                   std::optional<float> (*figure)(std::string_view), LogSite getter) {
    std::optional<float> value;
    if (percent != nullptr) {
        *percent = 0.0F;
        const auto output = failed(capture.run_and_log(command)) ? std::nullopt : capture.read();
        value = output ? figure(*output) : std::nullopt;
    }
    if (!value) {
        log_errno(no_figure, getter);
        return no_figure;
    }
    *percent = *value;
    return 0;
}

} // namespace

} // namespace zav

using namespace zav;

int tmp_get(char* buffer, size_t size) try {
    Model model = {};
    if (const int result = get_model(model, LogSite::here()); result != 0) {
        return result;
    }
    return get_state(buffer, size, model, model.temperature_key, Code::temperature_unread,
                     LogSite::here());
} catch (const std::exception&) {
    return fail_without_memory(Code::temperature_unread);
}

int fan_speed_get(char* buffer) try {
    if (buffer == nullptr) {
        return number_of(fail_with_errno(Code::fan_speed_unread));
    }
    buffer[0] = '\0';
    Model model = {};
    if (const int result = get_model(model, LogSite::here()); result != 0) {
        return result;
    }
    if (!model.fans) {
        return number_of(fail_with_errno(Code::fan_speed_unread));
    }
    const ModelFamily& source = *model.family;
    std::string speeds;
    for (int fan = 1; fan <= *model.fans; ++fan) {
        const std::string key = format_text("fan%d", fan);
        char value[fan_value_size] = "";
        if (!failed(key_value_get(source.state_path, source.state_section, key.c_str(), value,
                                  sizeof value))) {
            speeds += format_text("%s%s:%s", speeds.empty() ? "" : ",", key.c_str(), value);
        }
    }
    copy_bounded(buffer, ZAV_FAN_SPEED_SIZE, speeds.c_str());
    return 0;
} catch (const std::exception&) {
    return fail_without_memory(Code::fan_speed_unread);
}

int pwstate_get(char* buffer, size_t size) try {
    Model model = {};
    if (const int result = get_model(model, LogSite::here()); result != 0) {
        return result;
    }
    switch (model.power) {
    case PowerSource::state_file:
        return get_state(buffer, size, model, "power", Code::power_unread, LogSite::here());
    case PowerSource::tool:
        return get_power_from_tool(buffer, size, LogSite::here());
    case PowerSource::no_source:
        break;
    }
    return 0;
} catch (const std::exception&) {
    return fail_without_memory(Code::power_unread);
}

int get_mem_utility(float* percent) try {
    const Capture capture("/tmp/meminfo.XXXXXX");
    return get_percentage(percent, capture, format_text(meminfo_command, capture.path()),
                          memory_in_use, LogSite::here());
} catch (const std::exception&) {
    return fail_without_memory(no_figure);
}

int get_cpu_utility(float* percent) try {
    const Capture capture("/tmp/vmstat.XXXXXX");
    return get_percentage(percent, capture, format_text(vmstat_command, capture.path()),
                          processor_in_use, LogSite::here());
} catch (const std::exception&) {
    return fail_without_memory(no_figure);
}
