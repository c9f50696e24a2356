#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marrowkit::dao {

/// Finds names ignoring case, without allocating: setting a record's fields by name is the inner loop of an
/// import. The first of several equal names is found.
class NameTable {
public:
    explicit NameTable(std::vector<std::string> names);
    std::optional<std::size_t> Find(std::string_view name) const;
    const std::string& NameOf(std::size_t position) const { return names_[position]; }
    std::size_t Size() const { return names_.size(); }

private:
    std::vector<std::string> names_;
    std::vector<std::uint32_t> slots_;  ///< position + 1, 0 for an empty slot; a power of two of them
    bool ascii_ = true;
};

}  // namespace marrowkit::dao
