#pragma once

#include <string>
#include <string_view>

namespace marrowkit {

/// Whether a name holds `*` or `?`.
bool HasWildcards(std::string_view name);

/// A file-name pattern: `*` stands for any text, `?` for one character; case does not matter. "*.*" fits
/// every name, also one without a dot; "*." those without one.
class Wildcards {
public:
    explicit Wildcards(std::string_view pattern);
    bool Fits(std::string_view name) const;

private:
    std::string pattern_;  // lower case
    bool fitsAll_;
    bool withoutDot_;
};

}  // namespace marrowkit
