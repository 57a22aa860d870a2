// SPDX-License-Identifier: MIT
/// \file
/// What several sections of the page are made of.
#pragma once

#include "zavinfo/html.h"
#include "zavinfo/states.h"

#include <string>
#include <string_view>
#include <vector>

namespace zavinfo {

/// The name of the mark's colour in the style.
Html mark_class(Mark mark);

/// The mark's shape, which a screen reader passes over: a word stands beside it.
Html sign_of(Mark mark);

Html badge(const State& state);

/// A text of ours, with commands in it between `backquotes`.
Html words_html(std::string_view text);

/// A name from the system.
Html name_html(std::string_view text);

/// The first names of a list, and how many more there are.
Html names_html(const std::vector<std::string>& names);

/// Whose first cell is the row's head.
using Row = std::vector<Html>;

/// A table that becomes a card for each row on a narrow screen.
Html table_html(std::string_view caption, const std::vector<std::string>& heads,
                const std::vector<Row>& rows);

} // namespace zavinfo
