#pragma once

#include <cstddef>
#include <string_view>

#include "platform/registry/RegistryText.h"

namespace marrowkit {

/// One key line, value (with its continued lines) or other line of a registry text. All views are into it.
struct RegistryItem {
    enum class Kind { Key, Value, Blank, Other };
    Kind kind = Kind::Other;
    bool deletes = false;   // Regedit: [-Key], "name"=-
    std::size_t start = 0;  // first byte of the line
    std::size_t end = 0;    // behind the last byte, the line end left out
    std::string_view name;  // escaped; of a key the path; empty for @
    std::string_view data;  // behind the "=": `"text"`, `dword:...`
};

/// Takes a registry text apart, item by item. Time is linear in the text for any input.
class RegistryItemReader {
public:
    RegistryItemReader(std::string_view text, RegistryDialect dialect) : text_(text), dialect_(dialect) {}

    /// False at the end.
    bool Next(RegistryItem& item);

private:
    std::size_t LineEnd(std::size_t from) const;
    std::size_t QuoteEnd(std::size_t opening, bool acrossLines) const;
    void ReadKey(RegistryItem& item, std::size_t bracket) const;
    void ReadValue(RegistryItem& item, std::size_t at) const;
    bool EndsLine(std::size_t at) const;
    std::size_t DataEnd(std::size_t at) const;

    std::string_view text_;
    RegistryDialect dialect_;
    std::size_t position_ = 0;
};

}  // namespace marrowkit
