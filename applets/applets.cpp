// SPDX-License-Identifier: MIT
#include "applets/applets.h"

#include "actions/commands/interrupted.h"
#include "applets/standard_output.h"
#include "base/text.h"
#include "base/version.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

namespace zav {

namespace {

constexpr std::array<const char*, 5> install_directories = {"", "/bin", "/sbin", "/usr/bin",
                                                            "/usr/sbin"};
constexpr char no_help_mark = '\b';

// The only list of the commands.
constexpr std::array<std::reference_wrapper<const Applet>, 8> table = {
    diskmanage_applet, disksmart_applet, fsmanage_applet,    lvmanage_applet,
    mdmanage_applet,   netmanage_applet, sharemanage_applet, vgmanage_applet,
};

// One run is one applet.
const Applet* current_applet = nullptr;
const char* current_applet_name = "";

const Applet* find_applet(const char* name) {
    const auto* found = std::ranges::find_if(
        table, [name](const Applet& applet) { return std::strcmp(applet.name, name) == 0; });
    return found != table.end() ? &found->get() : nullptr;
}

/// The first one stands in for an unknown applet.
const Applet& or_first(const Applet* applet) {
    return applet != nullptr ? *applet : table.front().get();
}

} // namespace

std::span<const std::reference_wrapper<const Applet>> applets() {
    return table;
}

const OptionSettings& applet_options(const char* name) {
    return or_first(find_applet(name)).options;
}

const char* install_directory(const Applet& applet) {
    return install_directories.at(applet.install_location);
}

void set_current_applet_name(const char* path) {
    const char* slash = std::strrchr(path, '/');
    current_applet_name = slash != nullptr ? slash + 1 : path;
}

void applet_run(const char* name, int argc, char** argv) {
    current_applet = find_applet(name);
    if (current_applet == nullptr) {
        return;
    }
    current_applet_name = current_applet->name;
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
        applet_usage_show();
    }
    commands::finish_interrupted_changes();
    end_run(current_applet->main(argc, argv));
}

std::string usage_page(const char* name, const char* usage) {
    return usage[0] == no_help_mark
               ? "zavbox\n\nNo help available.\n\n"
               : format_text("zavbox %s\n\nUsage: %s %s\n\n", zavbox_version, name, usage);
}

void applet_usage_show() {
    const Applet& applet = or_first(current_applet);
    std::fputs(usage_page(current_applet_name, applet.usage).c_str(), stdout);
    end_run(0);
}

int fail_command(Code code, LogSite site) {
    return end_command(log_return(code, site));
}

int end_command(Code result) {
    if (failed(result)) {
        std::printf("for errno '%d'\n", number_of(result));
    }
    return number_of(result);
}

} // namespace zav
