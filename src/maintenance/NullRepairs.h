#pragma once

#include <string_view>
#include <vector>

namespace marrowkit {

/// The statements that repair a database of this version, in the order they are executed. Each replaces the
/// Nulls of one field, the last two length types that the frontend does not know.
std::vector<std::string_view> NullRepairs(float version);

}  // namespace marrowkit
