#include "platform/dao/sql/KeySorter.h"

#include <algorithm>
#include <numeric>

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

std::vector<std::size_t> KeySorter::Order() const {
    std::vector<std::size_t> order(starts_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
        const int compared = KeyOf(a).compare(KeyOf(b));
        return compared != 0 ? compared < 0 : a < b;
    });
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
