// SPDX-License-Identifier: MIT
#include "sources/lvm_backup.h"

#include "base/text.h"

#include <algorithm>

namespace zav {

namespace {

/// The lines of a backup, without white space at either end, each with the next one in view.
class BackupLines {
  public:
    explicit BackupLines(std::string_view text) : pieces_(text) { advance(); }

    bool next() {
        line = following;
        const bool has_line = has_following_;
        advance();
        return has_line;
    }
    /// Skips to the line behind the first that begins so. False when there is none.
    bool skip_behind(std::string_view beginning) {
        while (next()) {
            if (line.starts_with(beginning)) {
                return true;
            }
        }
        return false;
    }

    std::string_view line;
    std::string_view following; ///< empty at the end

  private:
    void advance() {
        has_following_ = pieces_.next(following);
        following = has_following_ ? trim(following) : "";
    }

    LinePieces pieces_;
    bool has_following_ = false;
};

/// What stands between the first and the last quote.
std::string_view quoted(std::string_view line) {
    const std::size_t first = line.find('"');
    const std::size_t last = line.rfind('"');
    return first == last ? "" : line.substr(first + 1, last - first - 1);
}

/// The last part of the path in the first quotes. LVM writes a remark behind them.
std::string_view device_name(std::string_view line) {
    line.remove_prefix(std::min(line.find('"') + 1, line.size()));
    return last_component(cut_at(line, "\""));
}

} // namespace

std::string backup_path(std::string_view group) {
    return std::string(backup_directory).append("/").append(group);
}

bool backup_has_pool(std::string_view backup, std::string_view pool) {
    BackupLines lines(backup);
    if (!lines.skip_behind("logical_volumes")) {
        return false;
    }
    // Not only to the end of the section: what follows has no such pairs of lines.
    while (lines.next()) {
        if (lines.line.ends_with(" {") && lines.following.starts_with("id =") &&
            field(lines.line, blanks, 0) == pool) {
            return true;
        }
    }
    return false;
}

bool parse_backup_volumes(std::string_view backup, backup_pv_list& list) {
    BackupLines lines(backup);
    if (!lines.skip_behind("physical_volumes")) {
        return false;
    }
    while (lines.next()) {
        if (lines.line.starts_with("id =") && lines.following.starts_with("device =")) {
            backup_pv& volume = list.append();
            volume.id = quoted(lines.line);
            volume.device = device_name(lines.following);
        }
    }
    return true;
}

} // namespace zav
