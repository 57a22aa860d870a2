// SPDX-License-Identifier: MIT
#include "zavinfo/json.h"
#include "zavinfo/preflight.h"
#include "zavinfo/text.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace zavinfo {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<const char*, 6> kind_names = {"program",  "file",   "directory",
                                                   "writable", "device", "kernel"};
constexpr std::array<const char*, 4> found_names = {"present", "missing", "wrong", "unneeded"};
constexpr std::array<const char*, 3> lack_names = {"fails", "silent", "data"};
constexpr std::array<const char*, 3> lack_words = {
    "commands fail", "commands end as if all were well",
    "commands end as if all were well, and data is at risk"};

template <std::size_t count, class Value>
const char* name_of(const std::array<const char*, count>& names, Value value) {
    return names[static_cast<std::size_t>(value)];
}

std::string remedy_text(const NeedState& state) {
    const std::string package = state.need->package;
    const std::string remedy = remedy_of(state);
    return package.empty() ? remedy : remedy + " Debian's package: " + package + ".";
}

std::string paragraph(const NeedState& state) {
    const std::string wrong = state.detail.empty() ? "" : ": " + state.detail;
    return std::string(name_of(found_names, state.found)) + "  " + state.need->name +
           (state.found == Found::wrong ? wrong : "") +
           "\n  Effect:   " + name_of(lack_words, lack_of(state)) +
           "\n  Needed:   " + state.need->commands +
           (state.found == Found::missing || lack_of(state) == state.need->lack
                ? std::string("\n  Without:  ") + state.need->without
                : "") +
           "\n  Remedy:   " + remedy_text(state) + "\n";
}

std::string names_of(const std::vector<NeedState>& states, Found found) {
    std::vector<std::string> names;
    for (const NeedState& state : states) {
        if (state.found == found) {
            names.emplace_back(state.need->name);
        }
    }
    return names.empty() ? "none" : joined(names, ", ");
}

/// The worst first.
std::vector<NeedState> troubles_of(const std::vector<NeedState>& states) {
    std::vector<NeedState> troubles;
    std::ranges::copy_if(states, std::back_inserter(troubles), is_trouble);
    std::ranges::stable_sort(troubles, std::ranges::greater(), lack_of);
    return troubles;
}

Json state_json(const NeedState& state) {
    const bool is_bad = is_trouble(state);
    const auto text_or_null = [](const std::string& text) {
        return text.empty() ? Json() : Json(text);
    };
    return {{"name", state.need->name},
            {"kind", name_of(kind_names, state.need->kind)},
            {"found", name_of(found_names, state.found)},
            {"detail", text_or_null(state.detail)},
            {"commands", words(state.need->commands, ", ")},
            {"lack", name_of(lack_names, lack_of(state))},
            {"without", state.need->without},
            {"remedy", is_bad ? Json(remedy_of(state)) : Json()},
            {"package", text_or_null(state.need->package)}};
}

} // namespace

std::string preflight_text(const std::vector<NeedState>& states, std::string_view model) {
    const std::vector<NeedState> troubles = troubles_of(states);
    std::string text = "Model " + (model.empty() ? "not known" : plain(model)) + ": " +
                       (troubles.empty() ? "all that the commands need is there.\n"
                                         : std::to_string(troubles.size()) +
                                               (troubles.size() == 1
                                                    ? " thing that the commands need is missing "
                                                      "or wrong.\n"
                                                    : " things that the commands need are missing "
                                                      "or wrong.\n"));
    for (const NeedState& state : troubles) {
        text += "\n" + paragraph(state);
    }
    text += "\npresent   " + names_of(states, Found::present) + "\n";
    return text + "unneeded  " + names_of(states, Found::unneeded) + "\n";
}

std::string preflight_json(const std::vector<NeedState>& states, std::string_view model,
                           std::int64_t taken_at) {
    Json list = Json::array();
    for (const NeedState& state : states) {
        list.push_back(state_json(state));
    }
    const Json json = {
        {"schema", json_schema},        {"version", zav_version()},
        {"taken_at", taken_at},         {"model", model.empty() ? Json() : Json(model)},
        {"preflight", std::move(list)}, {"failures", Json::array()}};
    constexpr int indent = 2;
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace zavinfo
