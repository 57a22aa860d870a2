// SPDX-License-Identifier: MIT
#include "platform/models.h"

#include <algorithm>
#include <array>

namespace zav {

namespace {

struct Model {
    std::string_view name;
    int fans;
};

constexpr std::array<Model, 14> models = {{
    {"KOR7206LB", 7},
    {"KOR7206L", 6},
    {"KOR7206G", 6},
    {"KOR7206H", 6},
    {"KOR7206L_BS", 6},
    {"KOR7206G_BS", 6},
    {"KOR7206H_BS", 6},
    {"VEL7206P", 7},
    {"VEL7206X", 6},
    {"VEL7205X", 6},
    {"VEL7205E", 6},
    {"VEL7205P", 8},
    {"VEL7205U", 6},
    {"VEL7205A", 6},
}};

constexpr std::array<std::string_view, 4> reiserfs_models = {"VEL7205E", "VEL7205P", "KOR7206LB",
                                                             "VEL7206P"};

} // namespace

std::optional<int> fan_count(std::string_view model) {
    const auto* found = std::ranges::find(models, model, &Model::name);
    return found == models.end() ? std::nullopt : std::optional(found->fans);
}

std::string_view fs_type_of(std::string_view model) {
    const bool is_listed = std::ranges::find(reiserfs_models, model) != reiserfs_models.end();
    return is_listed ? reiserfs_type : xfs_type;
}

bool is_server_family(std::string_view model) {
    return model.starts_with("KOR");
}

} // namespace zav
