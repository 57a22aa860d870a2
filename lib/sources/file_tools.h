// SPDX-License-Identifier: MIT
/// \file
/// mkdir, chmod, chattr, rm, mv and dd. Double blanks stay: those who read logs compare them.
#pragma once

namespace zav {

// Mount points. Without a mount nobody may write there, not even root.
inline constexpr char make_directory_command[] = "mkdir -m 0444 -p %s > /dev/null";
inline constexpr char protect_directory_command[] = "chattr  +i %s > /dev/null";
inline constexpr char release_directory_command[] = "chattr  -i %s > /dev/null";
inline constexpr char remove_directory_command[] = "rm -rf %s > /dev/null";
inline constexpr char open_to_all_command[] = "chmod 0777 %s > /dev/null";

// A finished copy takes a file's place: copy, file.
inline constexpr char move_command[] = "mv %s %s > /dev/null";

// The start of an array is wiped: array.
inline constexpr char wipe_command[] = "dd if=/dev/zero of=/dev/%s bs=1M count=4 > /dev/null";

} // namespace zav
