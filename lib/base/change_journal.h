// SPDX-License-Identifier: MIT
/// \file
/// Files that survive a crash while they are rewritten. Before the first of them is touched, the
/// new content of all is written and synced into one file, the journal; once they are whole and
/// synced, it is removed. A journal that is found holds what a run that was cut short had begun:
/// whoever has the locks finishes it before reading anything else. An incomplete journal was cut
/// short itself: none of its files had been touched.
///
/// A journal belongs to the file that every change of the set locks first, and lies beside it.
#pragma once

#include "base/file.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

struct JournalEntry {
    std::string path;
    std::string text;        ///< what the file is to become
    std::string before = {}; ///< what it was
};

/// Whether a file with that content, nothing when it is missing, may be what a change that was cut
/// short has left of it: each byte is the new one, the old one, or of room that was not filled yet.
/// Else somebody has changed it since, and it stays as it is.
bool is_unfinished(const JournalEntry& entry, const std::optional<std::string>& content);

/// Where the journal of a file and those that change with it lies: "/etc/.mdfstab.zav".
std::string journal_path(std::string_view path);

/// The content of a journal with these entries.
std::string journal_text(std::span<const JournalEntry> entries);

/// The entries of a complete journal, nothing else.
std::optional<std::vector<JournalEntry>> parse_journal(std::string_view text);

/// What the journal of `path` holds: no entries when there is none that is complete, nothing when
/// it cannot be read.
std::optional<std::vector<JournalEntry>> read_journal(std::string_view path);

/// The whole of a file whose changes go through the journal of `owner`, as it was before a change
/// or as it is after it. Waits for a change that is under way, at most for longest_wait; after one
/// that was cut short it is what the file is to become. Whoever may not read the journal gets the
/// file as it is. Nothing when it cannot be read; errno says why.
std::optional<std::string> read_settled(const char* path, std::string_view owner);

/// Writes and syncs the journal of `path`. Some files hold secrets: it is readable by its owner
/// alone, or has the `rights` of the one file in it. False when it cannot be written; errno says
/// why.
bool write_journal(std::string_view path, std::span<const JournalEntry> entries,
                   const FileRights& rights = {.mode = 0600, .owner = {}, .group = {}});

/// Removes the journal of `path`.
void remove_journal(std::string_view path);

} // namespace zav
