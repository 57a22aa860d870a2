// SPDX-License-Identifier: MIT
#include "zavinfo/html.h"

#include "zavinfo/text.h"

#include <algorithm>
#include <stdexcept>

namespace zavinfo {

Html escaped(std::string_view text) {
    std::string good;
    for (const char character : plain(text)) {
        switch (character) {
        case '&':
            good += "&amp;";
            break;
        case '<':
            good += "&lt;";
            break;
        case '>':
            good += "&gt;";
            break;
        case '"':
            good += "&quot;";
            break;
        case '\'':
            good += "&#39;";
            break;
        default:
            good += character;
        }
    }
    return Html(std::move(good));
}

Html fill(std::string_view form, std::initializer_list<std::pair<std::string_view, Html>> values) {
    std::string filled;
    while (true) {
        const std::size_t open = form.find('{');
        filled += form.substr(0, open);
        if (open == std::string_view::npos) {
            return Html(std::move(filled));
        }
        const std::string_view name = form.substr(open + 1, form.find('}', open) - open - 1);
        const auto* value =
            std::ranges::find(values, name, &std::pair<std::string_view, Html>::first);
        if (value == values.end()) {
            throw std::logic_error("a template lacks " + std::string(name));
        }
        filled += value->second.text();
        form.remove_prefix(open + name.size() + 2);
    }
}

} // namespace zavinfo
