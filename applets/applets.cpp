// SPDX-License-Identifier: MIT
#include "applets/applets.h"

#include "applets/applet_texts.h"
#include "base/text.h"
#include "base/version.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace zav {

namespace {

constexpr std::uint32_t usr_bin = 3;
constexpr std::array<const char*, 5> install_directories = {"", "/bin", "/sbin", "/usr/bin",
                                                            "/usr/sbin"};
constexpr char no_help_mark = '\b';

constexpr std::array<Applet, 8> table = {{
    {"diskmanage", diskmanage_main, usr_bin, 0},
    {"disksmart", disksmart_main, usr_bin, 0},
    {"fsmanage", fsmanage_main, usr_bin, 0},
    {"lvmanage", lvmanage_main, usr_bin, 0},
    {"mdmanage", mdmanage_main, usr_bin, 0},
    {"netmanage", netmanage_main, usr_bin, 0},
    {"sharemanage", sharemanage_main, usr_bin, 0},
    {"vgmanage", vgmanage_main, usr_bin, 0},
}};

// One run is one applet.
const Applet* current_applet = nullptr;
const char* current_applet_name = "";

const Applet* find_applet(const char* name) {
    const auto* found = std::ranges::find_if(
        table, [name](const Applet& applet) { return std::strcmp(applet.name, name) == 0; });
    return found != table.end() ? found : nullptr;
}

} // namespace

std::span<const Applet> applets() {
    return table;
}

const OptionSettings& applet_options(const char* name) {
    const Applet* applet = find_applet(name);
    return applet_texts()[applet != nullptr ? static_cast<std::size_t>(applet - table.data()) : 0]
        .options;
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
    std::exit(current_applet->main(argc, argv));
}

std::string usage_page(const char* name, const char* usage) {
    return usage[0] == no_help_mark
               ? "zavbox\n\nNo help available.\n\n"
               : format_text("zavbox %s\n\nUsage: %s %s\n\n", zavbox_version, name, usage);
}

void applet_usage_show() {
    // Without an applet the first usage of all is shown.
    const std::size_t index =
        current_applet != nullptr ? static_cast<std::size_t>(current_applet - table.data()) : 0;
    std::fputs(usage_page(current_applet_name, applet_texts()[index].usage).c_str(), stdout);
    std::exit(0);
}

int fail_command(Code code, LogSite site) {
    log_failure(code, site);
    std::printf("for errno '%d'\n", number_of(code));
    return number_of(code);
}

} // namespace zav
