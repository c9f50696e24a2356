#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "platform/jet/format/Value.h"

namespace marrowkit::dao::sql {

/// Rows of values held in memory as bytes: a number takes its own size plus one byte, a text its length plus
/// a few. Built by appending, read in any order.
class PackedRows {
public:
    std::size_t Size() const { return starts_.size(); }
    void Append(const jet::Row& row);
    /// The values of a row, in the order they were given.
    jet::Row Read(std::size_t row) const;
    void Read(std::size_t row, jet::Row& values) const;
    /// One value of it.
    jet::Value Read(std::size_t row, std::size_t column) const;

private:
    struct Start {
        std::uint32_t block;
        std::uint32_t offset;
    };
    /// Many blocks of moderate size: growing never copies what is there.
    std::deque<std::string> blocks_;
    std::vector<Start> starts_;
};

}  // namespace marrowkit::dao::sql
