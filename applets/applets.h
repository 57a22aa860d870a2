// SPDX-License-Identifier: MIT
/// \file
/// The table of applets and what is done with it.
#pragma once

#include "applets/options.h"
#include "base/codes.h"
#include "base/log.h"

#include <cstdint>
#include <span>
#include <string>

namespace zav {

struct Applet {
    const char* name;
    int (*main)(int argc, char** argv);
    std::uint32_t install_location; ///< index into the install directories
    std::uint32_t flags;            ///< 0 so far
};

/// The applets, by name.
std::span<const Applet> applets();

/// The option settings of an applet of the table.
const OptionSettings& applet_options(const char* name);

/// The directory that an applet's link is installed in.
const char* install_directory(const Applet& applet);

/// The name that usages and messages show until an applet is chosen: everything after the last "/"
/// of the path that the program was started under.
void set_current_applet_name(const char* path);

/// Runs the applet of that name and ends the process with what it returns. `argv` begins with the
/// name. Returns when there is no such applet.
void applet_run(const char* name, int argc, char** argv);

/// The page that shows a usage text under the applet's name; a text that begins with a backspace
/// means that there is no help.
std::string usage_page(const char* name, const char* usage);

/// Prints the current applet's usage and ends the process with status 0.
[[noreturn]] void applet_usage_show();

/// How a command ends that fails: logs the code with `site`, prints it for the front end as
/// "for errno '%d'", and returns its number.
int fail_command(Code code, LogSite site = LogSite::here());

// The applets. Each takes its own name as the first argument and returns 0 or the negative code
// that it printed as "for errno '%d'", and a few times, as its source says, a number of its own.
int diskmanage_main(int argc, char** argv);
int disksmart_main(int argc, char** argv);
int fsmanage_main(int argc, char** argv);
int lvmanage_main(int argc, char** argv);
int mdmanage_main(int argc, char** argv);
int netmanage_main(int argc, char** argv);
int sharemanage_main(int argc, char** argv);
int vgmanage_main(int argc, char** argv);

} // namespace zav
