// SPDX-License-Identifier: MIT
// The harness's own files inside a private root.
#pragma once

namespace zav::test::places {

inline constexpr auto shell = "/.harness/sh";        // the real shell
inline constexpr auto busybox = "/.harness/busybox"; // the plain tools
inline constexpr auto standin = "/.harness/standin"; // the program behind every stand-in tool
inline constexpr auto symbolizer = "/.harness/llvm-symbolizer"; // names in sanitizer reports
inline constexpr auto emulator = "/.harness/emulator"; // for a zavbox of another processor,
inline constexpr auto emulated = "/.harness/zavbox";   // and that
inline constexpr auto libraries = "/.harness/lib";     // the host's /usr/lib
inline constexpr auto proc = "/.harness/proc";         // procfs of the run's PID namespace
inline constexpr auto rules = "/.harness/rules";       // the answers of stand-in tools
inline constexpr auto uses = "/.harness/uses";         // which rules answered, one record per call
inline constexpr auto run = "/.harness/run";           // the folder of this run
inline constexpr auto journal = "/.harness/run/journal";       // the command texts of this run
inline constexpr auto unexpected = "/.harness/run/unexpected"; // calls without a rule
inline constexpr auto fault = "/.harness/run/fault";           // which command fails, and how
inline constexpr auto failures =
    "/.harness/run/failures"; // expectations that failed inside the root

// First line of a stand-in tool's file; such a file has no "#!", so that executing it fails.
inline constexpr auto standin_mark = "# stand-in tool\n";
// The same for the plain tools, which busybox implements.
inline constexpr auto applet_mark = "# busybox applet\n";
// The environment variable that passes the command text from the shell to the stand-in tool.
inline constexpr auto text_variable = "ZAV_STANDIN_TEXT";

} // namespace zav::test::places
