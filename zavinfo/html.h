// SPDX-License-Identifier: MIT
/// \file
/// Text that is HTML already, and the ways to it: a text from anywhere is escaped, a template of
/// ours is filled. Nothing else becomes one, so that no name of a share can become markup.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace zavinfo {

class Html {
  public:
    Html() = default;

    /// A constant of page_style.h, whose braces are its own.
    template <std::size_t size>
    static Html constant(const char (&text)[size]) {
        return Html(std::string(text, size - 1));
    }

    [[nodiscard]] const std::string& text() const { return text_; }
    [[nodiscard]] bool empty() const { return text_.empty(); }

    Html& operator+=(const Html& more) {
        text_ += more.text_;
        return *this;
    }

  private:
    explicit Html(std::string text) : text_(std::move(text)) {}

    friend Html escaped(std::string_view text);
    friend Html fill(std::string_view form,
                     std::initializer_list<std::pair<std::string_view, Html>> values);

    std::string text_;
};

/// A text for an element or for an attribute in double quotes.
Html escaped(std::string_view text);

/// A template, which must be a constant of page_templates.h, with each "{name}" replaced by the
/// value of that name. Throws std::logic_error for a name without a value.
Html fill(std::string_view form,
          std::initializer_list<std::pair<std::string_view, Html>> values = {});

} // namespace zavinfo
