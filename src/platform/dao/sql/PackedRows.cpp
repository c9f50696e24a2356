#include "platform/dao/sql/PackedRows.h"

#include <cstring>
#include <type_traits>

namespace marrowkit::dao::sql {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 20;

template <class T>
void Put(const T& value, std::string& bytes) {
    static_assert(std::is_trivially_copyable_v<T>);
    char raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));
    bytes.append(raw, sizeof(T));
}

template <class T>
T Get(const char*& at) {
    T value;
    std::memcpy(&value, at, sizeof(T));
    at += sizeof(T);
    return value;
}

void PutValue(const jet::Value& value, std::string& bytes) {
    bytes += static_cast<char>(value.index());
    std::visit(
        [&](const auto& held) {
            using T = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, jet::Binary>) {
                Put(static_cast<std::uint32_t>(held.size()), bytes);
                bytes.append(held.begin(), held.end());
            } else if constexpr (!std::is_same_v<T, jet::Null>) {
                Put(held, bytes);
            }
        },
        value);
}

/// Reads one alternative of the variant; the index says which.
template <std::size_t Index = 0>
jet::Value GetAlternative(std::size_t index, const char*& at) {
    if constexpr (Index < std::variant_size_v<jet::Value>) {
        if (index != Index) return GetAlternative<Index + 1>(index, at);
        using T = std::variant_alternative_t<Index, jet::Value>;
        if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, jet::Binary>) {
            const auto length = Get<std::uint32_t>(at);
            const char* first = at;
            at += length;
            return T(first, first + length);
        } else if constexpr (std::is_same_v<T, jet::Null>) {
            return jet::Null{};
        } else {
            return Get<T>(at);
        }
    } else {
        return jet::Null{};
    }
}

jet::Value GetValue(const char*& at) {
    const auto index = static_cast<std::size_t>(static_cast<unsigned char>(*at++));
    return GetAlternative(index, at);
}

void SkipValue(const char*& at) {
    const auto index = static_cast<std::size_t>(static_cast<unsigned char>(*at));
    const bool text =
        index == jet::Value(std::string()).index() || index == jet::Value(jet::Binary()).index();
    if (!text) {
        GetValue(at);
        return;
    }
    ++at;
    const auto length = Get<std::uint32_t>(at);
    at += length;
}

}  // namespace

void PackedRows::Append(const jet::Row& row) {
    if (blocks_.empty() || blocks_.back().size() >= kBlockBytes) blocks_.emplace_back();
    std::string& block = blocks_.back();
    starts_.push_back(
        {static_cast<std::uint32_t>(blocks_.size() - 1), static_cast<std::uint32_t>(block.size())});
    Put(static_cast<std::uint16_t>(row.size()), block);
    for (const jet::Value& value : row) PutValue(value, block);
}

jet::Row PackedRows::Read(std::size_t row) const {
    jet::Row values;
    Read(row, values);
    return values;
}

void PackedRows::Read(std::size_t row, jet::Row& values) const {
    const Start start = starts_.at(row);
    const char* at = blocks_[start.block].data() + start.offset;
    values.resize(Get<std::uint16_t>(at));
    for (jet::Value& value : values) value = GetValue(at);
}

jet::Value PackedRows::Read(std::size_t row, std::size_t column) const {
    const Start start = starts_.at(row);
    const char* at = blocks_[start.block].data() + start.offset;
    const auto count = Get<std::uint16_t>(at);
    for (std::size_t i = 0; i < column && i < count; ++i) SkipValue(at);
    return column < count ? GetValue(at) : jet::Value();
}

}  // namespace marrowkit::dao::sql
