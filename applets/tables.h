// SPDX-License-Identifier: MIT
/// \file
/// The rows that commands print. What only one command prints is in that command's file.
#pragma once

#include "base/bounded_text.h"
#include "base/lists.h"
#include "records/backup_volume.h"
#include "records/filesystem.h"
#include "records/group.h"

#include <cstddef>
#include <cstdio>

namespace zav {

/// Shows a list: one call of `show_row` for each record. A missing list is `missing` on standard
/// output.
template <class Record, class ShowRow>
void show_list(const RecordList<Record>* list, ShowRow show_row,
               const char* missing = "Can't show NULL list") {
    if (list == nullptr) {
        std::puts(missing);
        return;
    }
    for (const Record& record : *list) {
        show_row(record);
    }
}

/// Empties a list. Returns 0, or -1 after printing `missing` when there is no list. The misspelt
/// word is what the front end knows: it stays.
template <class Record>
int destroy_list(RecordList<Record>* list, const char* missing = "Can't destory NULL list") {
    if (list == nullptr) {
        std::puts(missing);
        return -1;
    }
    list->clear();
    return 0;
}

/// What a column shows: the text, or the word for one that is empty.
template <std::size_t Size>
const char* text_or(const BoundedText<Size>& text, const char* word) {
    return text.empty() ? word : text.c_str();
}

/// The word of most columns.
inline constexpr const char* not_available = "N.A.";

/// Prints a group's row and below it a row for each of its physical volumes.
void vginfo_display(const vginfo& group);

/// Prints all groups in this way.
void vginfo_list_display(const vginfo_list* list);

/// Empties the list. 0, or -1 and a message for no list.
int vginfo_list_destroy(vginfo_list* list);

/// Prints a file system's row.
void fs_show(const fs_info& fs);

/// Prints a row for every file system.
void fs_list_show(const fs_list* list);

/// Prints the head of the table and every row.
void fs_table_show(const fs_list& list);

/// Empties the list. 0, or -1 and a message for no list.
int fs_list_destroy(fs_list* list);

/// Prints a header and a row for each volume.
void live_pv_list_display(const live_pv_list* list);

} // namespace zav
