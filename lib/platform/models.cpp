// SPDX-License-Identifier: MIT
#include "platform/models.h"

#include "records/filesystem.h"
#include "zav/system_status.h"

#include <algorithm>
#include <array>

namespace zav {

namespace {

using enum PowerSource;
using enum SaveTool;
using enum ShareRepair;

constexpr ModelFamily server = {"KOR", "/var/run/sys_state", "status", "/sbin"};
constexpr ModelFamily desktop = {"", "/tmp/nas_state.conf", "misc", "/usr/local/bin"};

constexpr const char* one_sensor = "temp";
constexpr const char* processor_sensor = "temp(cpu)";

// clang-format off
constexpr auto models = std::to_array<Model>({
    // name         family    fans          temperature       power       save tool  file system    repair of shares   RAID controller
    {"KOR7206LB",   &server,  7,            one_sensor,       state_file, xconf,   reiserfs_type, system_reiserfsck, false},
    {"KOR7206L",    &server,  6,            processor_sensor, state_file, xconf,   xfs_type,      xfs_repair,        false},
    {"KOR7206G",    &server,  6,            processor_sensor, state_file, xconf,   xfs_type,      xfs_repair,        false},
    {"KOR7206H",    &server,  6,            processor_sensor, state_file, xconf,   xfs_type,      xfs_repair,        false},
    {"KOR7206L_BS", &server,  6,            processor_sensor, state_file, xconf,   xfs_type,      xfs_repair,        false},
    {"KOR7206G_BS", &server,  6,            processor_sensor, state_file, xconf,   xfs_type,      xfs_repair,        false},
    {"KOR7206H_BS", &server,  6,            processor_sensor, state_file, xconf,   xfs_type,      xfs_repair,        false},
    {"VEL7206P",    &desktop, 7,            processor_sensor, no_source,  xconf,   reiserfs_type, system_reiserfsck, false},
    {"VEL7206X",    &desktop, 6,            processor_sensor, state_file, nasconf, xfs_type,      xfs_repair,        false},
    {"VEL7205X",    &desktop, 6,            processor_sensor, state_file, nasconf, xfs_type,      xfs_repair,        false},
    {"VEL7205E",    &desktop, 6,            processor_sensor, tool,       nasconf, reiserfs_type, local_reiserfsck,  false},
    {"VEL7205P",    &desktop, 8,            one_sensor,       tool,       nasconf, reiserfs_type, local_reiserfsck,  false},
    {"VEL7205U",    &desktop, 6,            processor_sensor, state_file, nasconf, xfs_type,      xfs_repair,        true},
    {"VEL7205A",    &desktop, 6,            processor_sensor, no_source,  nasconf, xfs_type,      xfs_repair,        false},
    {"GENERIC",     &server,  0,            processor_sensor, no_source,  xconf,   xfs_type,      xfs_repair,        false}, // any server: no fans of its own
});

constexpr Model unknown_server =
    {"",            &server,  std::nullopt, processor_sensor, state_file, xconf,   xfs_type,      xfs_repair,        false};
constexpr Model unknown_desktop =
    {"",            &desktop, std::nullopt, processor_sensor, no_source,  nasconf, xfs_type,      xfs_repair,        false};
// clang-format on

} // namespace

std::span<const Model> known_models() {
    return models;
}

Model find_model(std::string_view name) {
    const auto* found = std::ranges::find(models, name, &Model::name);
    if (found != models.end()) {
        return *found;
    }
    return name.starts_with(server.name_prefix) ? unknown_server : unknown_desktop;
}

Model product_model() {
    char name[model_size] = "";
    return find_model(devmodel_get(name, sizeof name) == 0 ? name : "");
}

} // namespace zav
