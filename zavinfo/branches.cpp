// SPDX-License-Identifier: MIT
#include "zavinfo/branches.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zavinfo {

namespace {

struct Strokes {
    const char* branch;
    const char* last;
    const char* beside;
    const char* below_last;
    const char* full;
    const char* empty;
};

constexpr Strokes unicode = {"├─ ", "└─ ", "│  ", "   ", "█", "░"};
constexpr Strokes ascii = {"|- ", "`- ", "|  ", "   ", "#", "-"};

const Strokes& strokes_of(const Look& look) {
    return look.has_unicode ? unicode : ascii;
}

void add_branches(std::string& out, const Branch& parent, const std::string& indent,
                  const Look& look) {
    const Strokes& strokes = strokes_of(look);
    for (const Branch& branch : parent.branches) {
        const bool is_last = &branch == &parent.branches.back();
        out.append(
            coloured(indent + (is_last ? strokes.last : strokes.branch), Colour::faint, look));
        out.append(branch.text).append("\n");
        add_branches(out, branch, indent + (is_last ? strokes.below_last : strokes.beside), look);
    }
}

} // namespace

std::string branch_text(const Branch& root, const Look& look) {
    std::string out = root.text + "\n";
    add_branches(out, root, "", look);
    return out;
}

std::string coloured(std::string_view text, Colour colour, const Look& look) {
    constexpr std::array<const char*, 5> sequences = {"\x1b[32m", "\x1b[33m", "\x1b[1;31m",
                                                      "\x1b[2m", "\x1b[1m"};
    if (!look.has_colours || text.empty()) {
        return std::string(text);
    }
    return std::string(sequences[static_cast<std::size_t>(colour)]).append(text).append("\x1b[0m");
}

std::string bar(double share, const Look& look) {
    constexpr int width = 20;
    const int full = static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * width));
    const Strokes& strokes = strokes_of(look);
    std::string text = "[";
    for (int at = 0; at < width; ++at) {
        text += at < full ? strokes.full : strokes.empty;
    }
    return text + "]";
}

} // namespace zavinfo
