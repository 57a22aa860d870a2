// SPDX-License-Identifier: MIT
// The journal of a change that was cut short. Input: the name of a file, its old text, "--", its
// new text; or a journal.
#include "base/change_journal.h"

#include "fuzz.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

namespace zav::fuzz {

namespace {

void check_journal_of(const JournalEntry& entry) {
    const std::array<JournalEntry, 2> written = {entry, entry};
    const std::string text = journal_text(written);
    const auto read = parse_journal(text);
    require(read && read->size() == written.size(), "what is written is read");
    for (const JournalEntry& found : *read) {
        require(found.path == entry.path && found.text == entry.text &&
                    found.before == entry.before,
                "an entry comes back as it was");
    }
    require(!parse_journal(text.substr(0, text.size() / 2)), "half a journal is none");
}

/// At each byte a change may be cut short.
void check_remains_of(const JournalEntry& entry) {
    require(is_unfinished(entry, std::nullopt), "a file may have been removed");
    require(is_unfinished(entry, entry.before), "nothing of it may be written yet");
    require(is_unfinished(entry, entry.text), "all of it may be written");
    const std::size_t half = entry.text.size() / 2;
    const std::string rest = entry.before.size() > half ? entry.before.substr(half) : "";
    require(is_unfinished(entry, entry.text.substr(0, half) + rest), "half of it may be written");
    require(!is_unfinished(entry,
                           std::string(std::max(entry.text.size(), entry.before.size()) + 1, 'x')),
            "nothing is longer than both");
}

} // namespace

void run(std::string_view input) {
    // A journal of others is read as one, or as none.
    if (const auto entries = parse_journal(input)) {
        require(parse_journal(journal_text(*entries)).has_value(), "entries make a journal");
    }
    JournalEntry entry;
    entry.path = take_line(input);
    const std::size_t middle = std::min(input.find("--"), input.size());
    entry.before = input.substr(0, middle);
    entry.text = input.substr(std::min(middle + 2, input.size()));
    check_journal_of(entry);
    check_remains_of(entry);
}

} // namespace zav::fuzz
