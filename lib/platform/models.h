// SPDX-License-Identifier: MIT
/// \file
/// The product models: an appliance's identity file names one, and what differs between them is a
/// row of the table in models.cpp.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zav {

/// What the models of one family have in common.
struct ModelFamily {
    std::string_view name_prefix; ///< of the names of models that the table lacks
    const char* state_path;       ///< the file that keeps temperature, fans and power,
    const char* state_section;    ///< and where in it
    const char* repair_directory; ///< of the tools that repair file systems
};

enum class PowerSource { no_source, state_file, tool };

enum class SaveTool { xconf, nasconf };

/// How a share's file system is repaired. The directories are not those of ModelFamily.
enum class ShareRepair { xfs_repair, local_reiserfsck, system_reiserfsck };

struct Model {
    std::string_view name;
    const ModelFamily* family;
    std::optional<int> fans; ///< nothing for an unknown model
    const char* temperature_key;
    PowerSource power;
    SaveTool save_tool;
    std::string_view fs_type; ///< that it makes: reiserfs_type or xfs_type
    ShareRepair share_repair;
    bool has_raid_controller; ///< which keeps the disks and the arrays
};

constexpr std::size_t model_size = 32; ///< room for a model's name, with its end

std::span<const Model> known_models();

/// The model of that name. One that the table does not have gets what is usual in its family.
Model find_model(std::string_view name);

/// This appliance's model; an unknown one when it cannot be read, which is logged. Reads
/// /etc/sys_info and /etc/nas_base.conf.
Model product_model();

} // namespace zav
