#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace marrowkit::dao::sql {

/// Finds the order of things by their sort keys. Things are numbered from 0 in the order they are added, and
/// stay in that order where their keys are equal.
class KeySorter {
public:
    void Add(std::string_view key);
    /// The numbers in the order of their keys. With a limit, only that many and those whose key equals the
    /// last one's: what TOP takes.
    std::vector<std::size_t> Order() const;
    std::vector<std::size_t> Order(std::size_t limit) const;
    std::size_t Size() const { return starts_.size(); }

private:
    class Keys;
    std::string_view KeyOf(std::size_t number) const;

    std::string bytes_;
    std::vector<std::size_t> starts_;
};

}  // namespace marrowkit::dao::sql
