#include "platform/jet/engine/IndexBounds.h"

#include <algorithm>

#include "platform/jet/engine/KeyBuilding.h"
#include "platform/jet/format/IndexKey.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

using Bytes = std::vector<std::uint8_t>;

// Flag bytes in front of a column's value in a key.
constexpr std::uint8_t kAscendingNotNull = 0x7F;
constexpr std::uint8_t kDescendingNull = 0xFF;

/// The smallest byte string that is greater than every string beginning with `prefix`; nullopt when there is
/// none.
std::optional<Bytes> Successor(Bytes prefix) {
    while (!prefix.empty() && prefix.back() == 0xFF) prefix.pop_back();
    if (prefix.empty()) return std::nullopt;
    ++prefix.back();
    return prefix;
}

/// The key parts of a bound, one per column given.
std::vector<Bytes> KeyParts(const TableLayout& layout, const IndexStorage& index,
                            const std::vector<Value>& bound) {
    if (bound.size() > index.columns.size()) RaiseJet(JetError::InvalidArgument);
    std::vector<Bytes> parts;
    for (std::size_t i = 0; i < bound.size(); ++i) {
        if (!index.buildable) RaiseUnknownSortOrder(layout, index);
        Bytes part;
        const Value value = ConvertFor(layout.columns[index.columns[i]], bound[i]);
        AppendKeyColumn(layout.Version(), *index.definitions[i], index.order[i].ascending, value, part);
        parts.push_back(std::move(part));
    }
    return parts;
}

Bytes Join(const std::vector<Bytes>& parts, std::size_t from = 0) {
    Bytes joined;
    for (std::size_t i = from; i < parts.size(); ++i) {
        joined.insert(joined.end(), parts[i].begin(), parts[i].end());
    }
    return joined;
}

Bytes WithByte(Bytes bytes, std::uint8_t byte) {
    bytes.push_back(byte);
    return bytes;
}

}  // namespace

KeyBounds BoundsOf(const TableLayout& layout, const IndexStorage& index, const IndexRange& range) {
    std::vector<Bytes> low = KeyParts(layout, index, range.low);
    std::vector<Bytes> high = KeyParts(layout, index, range.high);
    std::size_t common = 0;
    while (common < low.size() && common < high.size() && low[common] == high[common]) ++common;
    const Bytes prefix = Join({low.begin(), low.begin() + static_cast<std::ptrdiff_t>(common)});

    KeyBounds bounds;
    if (common == low.size() && common == high.size()) {
        bounds.start = prefix;
        bounds.end = Successor(prefix);
        if (!prefix.empty() && !(range.lowInclusive && range.highInclusive)) bounds.end = bounds.start;
        return bounds;
    }
    bool lowInclusive = range.lowInclusive;
    bool highInclusive = range.highInclusive;
    const bool ascending = index.order[common].ascending;
    if (!ascending) {
        std::swap(low, high);
        std::swap(lowInclusive, highInclusive);
    }
    // An open side leaves Nulls out: they come first in ascending columns, last in descending ones.
    if (low.size() > common) {
        bounds.start = Join(low);
        // Nothing is greater than all strings with this prefix: the range is empty.
        if (!lowInclusive) bounds.start = Successor(bounds.start).value_or(Bytes(1, 0xFF));
    } else {
        bounds.start = ascending ? WithByte(prefix, kAscendingNotNull) : prefix;
    }
    if (high.size() > common) {
        bounds.end = highInclusive ? Successor(Join(high)) : Join(high);
    } else {
        bounds.end = ascending ? Successor(prefix) : WithByte(prefix, kDescendingNull);
    }
    return bounds;
}

}  // namespace marrowkit::jet
