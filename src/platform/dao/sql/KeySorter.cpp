#include "platform/dao/sql/KeySorter.h"

#include <cstdint>
#include <span>

#include "platform/jet/format/WordSort.h"

namespace marrowkit::dao::sql {

void KeySorter::Add(std::string_view key) {
    starts_.push_back(bytes_.size());
    bytes_ += key;
}

std::string_view KeySorter::KeyOf(std::size_t number) const {
    const std::size_t start = starts_[number];
    const std::size_t end = number + 1 < starts_.size() ? starts_[number + 1] : bytes_.size();
    return std::string_view(bytes_).substr(start, end - start);
}

/// The keys for jet::WordSort. A record's key is its number.
class KeySorter::Keys {
public:
    explicit Keys(const KeySorter& sorter) : sorter_(sorter) {}
    std::size_t Length(const jet::SortRecord& record) const { return sorter_.KeyOf(record.key).size(); }
    std::span<const std::uint8_t> Bytes(const jet::SortRecord& record) const { return Bytes(record.key); }
    std::span<const std::uint8_t> Bytes(std::size_t number) const {
        const std::string_view key = sorter_.KeyOf(number);
        return {reinterpret_cast<const std::uint8_t*>(key.data()), key.size()};
    }

private:
    const KeySorter& sorter_;
};

std::vector<std::size_t> KeySorter::Order() const {
    const Keys keys(*this);
    std::vector<jet::SortRecord> records;
    records.reserve(Size());
    for (std::uint32_t number = 0; number < Size(); ++number)
        records.push_back({jet::KeyWord(keys.Bytes(number), 0), number, number});
    jet::WordSort<Keys>(keys).Sort(records);
    std::vector<std::size_t> order;
    order.reserve(Size());
    for (const jet::SortRecord& record : records) order.push_back(record.key);
    return order;
}

std::vector<std::size_t> KeySorter::Order(std::size_t limit) const {
    std::vector<std::size_t> order = Order();
    if (limit == 0) return {};
    if (limit >= order.size()) return order;
    std::size_t end = limit;
    while (end < order.size() && KeyOf(order[end]) == KeyOf(order[limit - 1])) ++end;
    order.resize(end);
    return order;
}

}  // namespace marrowkit::dao::sql
