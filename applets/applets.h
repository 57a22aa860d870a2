// SPDX-License-Identifier: MIT
/// \file
/// The table of applets and what is done with it.
#pragma once

#include "applets/options.h"
#include "base/codes.h"
#include "base/log.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace zav {

/// A command as the dispatcher knows it. Its own file describes it and makes this from the
/// description.
struct Applet {
    const char* name;
    int (*main)(int argc, char** argv);
    std::uint32_t install_location; ///< index into the install directories
    OptionSettings options;
    const char* usage; ///< one that begins with a backspace means that there is no help
};

/// The install location of all commands so far.
inline constexpr std::uint32_t usr_bin = 3;

// The commands, each in the file of its name. They take that name as the first argument and return
// 0 or the negative code that they printed as "for errno '%d'", and a few times, as their source
// says, a number of their own.
extern const Applet diskmanage_applet;
extern const Applet disksmart_applet;
extern const Applet fsmanage_applet;
extern const Applet lvmanage_applet;
extern const Applet mdmanage_applet;
extern const Applet netmanage_applet;
extern const Applet sharemanage_applet;
extern const Applet vgmanage_applet;

/// All of them, by name.
std::span<const std::reference_wrapper<const Applet>> applets();

/// The option settings of the applet of that name; of the first one for an unknown name.
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

/// Prints the current applet's usage and ends the process with status 0, if that can be printed.
[[noreturn]] void applet_usage_show();

/// How a command ends that fails: logs the code with `site`, prints it for the front end as
/// "for errno '%d'", and returns its number.
int fail_command(Code code, LogSite site = LogSite::here());

/// The same for a code that is in the log already; 0, and nothing is printed, for Code::ok.
int end_command(Code result);

} // namespace zav
