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

#include <functional>
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
/// short has left of it: each byte is the new one, the old one, or a zero of room that was not
/// filled yet. Else somebody has changed it since, and it stays as it is.
bool is_unfinished(const JournalEntry& entry, const std::optional<std::string>& content);

/// What a file holds; nothing when it is missing.
using FileContent = std::optional<std::string>;

/// What each file of a change that was cut short is to hold; nothing for one that stays as it is,
/// since somebody has changed it. The others are finished, or all are taken back: of a share that
/// moves from one file to another, the one without the other would lose the users, or serve it for
/// ever. The edited file tells which, as it was made from the old text or from the new one. What
/// was whole in all others is never taken back.
std::vector<FileContent> settled_texts(std::span<const JournalEntry> entries,
                                       std::span<const FileContent> contents);

/// Finishes a change that was cut short: `write` gives the file at a place its text. What becomes
/// of each file is logged. False when one cannot be written; the journal is left to the caller.
bool finish_files(std::span<const JournalEntry> entries, std::span<const FileContent> contents,
                  const std::function<bool(std::size_t place, const std::string& text)>& write);

/// A file that is to be changed, open for writing and locked against other writers.
struct FileChange {
    std::string path;
    int fd = -1;
    std::string before; ///< all that it holds
    std::string after;
};

struct ChangeFailure {
    std::size_t file = 0;   ///< the place among the changes
    bool is_locked = false; ///< somebody keeps reading it, or has put another in its place
};

/// Rewrites files in their places, all or none, through the journal of `owner`, and makes that
/// durable. Readers are kept out from then on, until the caller releases them. Nothing when it is
/// done; else all files are as they were, or the next one that looks makes them so. Only when the
/// disk takes neither the old texts nor another name for the journal does the next one finish the
/// change that failed, which is logged.
std::optional<ChangeFailure>
change_files(std::string_view owner, std::span<const FileChange> changes,
             const FileRights& journal_rights = {.mode = 0600, .owner = {}, .group = {}});

/// Makes sure of the room that a change takes, before something else is done that cannot be taken
/// back; the files stay as they are. The place of a file that there is no room for; 0 also when
/// there is none for the journal.
std::optional<std::size_t> prepare_change(std::string_view owner,
                                          std::span<const FileChange> changes);

/// change_files() for what prepare_change() got.
std::optional<ChangeFailure> change_prepared_files(std::string_view owner,
                                                   std::span<const FileChange> changes);

/// Gives the room of a change back that is not made.
void forget_prepared_change(std::string_view owner);

/// Where the journal of a file and those that change with it lies: "/etc/.mdfstab.zav".
std::string journal_path(std::string_view path);

/// The content of a journal with these entries.
std::string journal_text(std::span<const JournalEntry> entries);

/// The entries of a complete journal, nothing else.
std::optional<std::vector<JournalEntry>> parse_journal(std::string_view text);

/// Whether there is a journal of `path`, complete or not.
bool has_journal(std::string_view path);

/// What the journal of `path` holds: no entries when there is none that is complete, nothing when
/// it cannot be read. After a change that was to be taken back, the old texts are the new ones.
/// Only a journal of our own or of root counts: others may be able to put a file there.
std::optional<std::vector<JournalEntry>> read_journal(std::string_view path);

/// The whole of a file whose changes go through the journal of `owner`, as it was before a change
/// or as it is after it. Waits for a change that is under way, at most for longest_wait; after one
/// that was cut short it is what the file is to become. Whoever may not read the journal gets the
/// file as it is. Nothing when it cannot be read; errno says why, and `was_opened` whether the file
/// could be opened.
std::optional<std::string> read_settled(const char* path, std::string_view owner,
                                        bool* was_opened = nullptr);

/// Writes and syncs the journal of `path`; readable by its owner alone, unless the one file in it
/// is, too, for others: some hold secrets. False when it cannot be written; there is none then.
bool write_journal(std::string_view path, std::span<const JournalEntry> entries,
                   const FileRights& rights = {.mode = 0600, .owner = {}, .group = {}});

/// The rights that the journal of `path` was written with: those of a file of which nothing may be
/// left.
FileRights rights_of_journal(std::string_view path);

/// From now on the journal of `path` says that the files are to become what they were. It takes no
/// room. False when that cannot be made durable.
bool turn_journal_back(std::string_view path);

/// Removes the journal of `path`, for good when the operation ends: see SharedSync.
void remove_journal(std::string_view path);

} // namespace zav
