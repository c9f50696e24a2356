#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <exception>
#include <span>
#include <string>
#include <utility>

namespace marrowkit::jet {

/// A read or write outside a page, a row or a definition. Nothing that a file says about itself is trusted,
/// so every access goes through the two views below; whoever knows the file's name turns this into error
/// 3049.
struct OutOfBounds : std::exception {
    const char* what() const noexcept override { return "a structure reaches beyond its page"; }
};

/// Within its bounds, but nothing that can be: a column number given twice, an index on a column that is not
/// there.
struct BadStructure : OutOfBounds {
    explicit BadStructure(std::string what) : what_(std::move(what)) {}
    const char* what() const noexcept override { return what_.c_str(); }

private:
    std::string what_;
};

/// Eight bytes as a big-endian number, which orders as the bytes do. REQUIRES: all eight can be read or
/// written.
inline std::uint64_t LoadBigEndian64(const std::uint8_t* at) {
    return std::uint64_t{at[0]} << 56 | std::uint64_t{at[1]} << 48 | std::uint64_t{at[2]} << 40 |
           std::uint64_t{at[3]} << 32 | std::uint64_t{at[4]} << 24 | std::uint64_t{at[5]} << 16 |
           std::uint64_t{at[6]} << 8 | std::uint64_t{at[7]};
}
inline std::uint32_t LoadBigEndian32(const std::uint8_t* at) {
    return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 |
           std::uint32_t{at[3]};
}
inline void StoreBigEndian64(std::uint64_t value, std::uint8_t* at) {
    for (unsigned shift = 64; shift > 0; shift -= 8) *at++ = static_cast<std::uint8_t>(value >> (shift - 8));
}

/// A bounds-checked, little-endian view of bytes that someone else owns.
class ByteView {
public:
    ByteView() = default;
    ByteView(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}  // NOLINT(google-explicit-constructor)

    std::size_t Size() const { return bytes_.size(); }
    bool Empty() const { return bytes_.empty(); }
    std::span<const std::uint8_t> All() const { return bytes_; }
    const std::uint8_t* Data() const { return bytes_.data(); }

    std::uint8_t U8(std::size_t at) const { return Load<std::uint8_t>(at); }
    std::uint16_t U16(std::size_t at) const { return Load<std::uint16_t>(at); }
    std::uint32_t U32(std::size_t at) const { return Load<std::uint32_t>(at); }
    std::uint64_t U64(std::size_t at) const { return Load<std::uint64_t>(at); }
    std::int16_t I16(std::size_t at) const { return Load<std::int16_t>(at); }
    std::int32_t I32(std::size_t at) const { return Load<std::int32_t>(at); }
    std::int64_t I64(std::size_t at) const { return Load<std::int64_t>(at); }
    float F32(std::size_t at) const { return Load<float>(at); }
    double F64(std::size_t at) const { return Load<double>(at); }

    /// Big-endian, as row pointers and child pages of index entries are.
    std::uint32_t U24BigEndian(std::size_t at) const {
        Check(at, 3);
        return static_cast<std::uint32_t>(bytes_[at] << 16 | bytes_[at + 1] << 8 | bytes_[at + 2]);
    }
    std::uint32_t U32BigEndian(std::size_t at) const { return U24BigEndian(at) << 8 | U8(at + 3); }

    ByteView Sub(std::size_t at, std::size_t count) const {
        Check(at, count);
        return bytes_.subspan(at, count);
    }
    ByteView From(std::size_t at) const {
        Check(at, 0);
        return bytes_.subspan(at);
    }

private:
    void Check(std::size_t at, std::size_t count) const {
        if (at > bytes_.size() || count > bytes_.size() - at) throw OutOfBounds{};
    }
    template <typename T>
    T Load(std::size_t at) const {
        static_assert(std::endian::native == std::endian::little, "a big-endian host needs byte swaps here");
        Check(at, sizeof(T));
        T value;
        std::memcpy(&value, bytes_.data() + at, sizeof(T));
        return value;
    }

    std::span<const std::uint8_t> bytes_;
};

/// The same for writing.
class MutableByteView {
public:
    MutableByteView() = default;
    MutableByteView(std::span<std::uint8_t> bytes) : bytes_(bytes) {}  // NOLINT(google-explicit-constructor)

    operator ByteView() const { return ByteView(bytes_); }  // NOLINT(google-explicit-constructor)
    ByteView View() const { return ByteView(bytes_); }
    std::size_t Size() const { return bytes_.size(); }
    std::span<std::uint8_t> All() const { return bytes_; }
    std::uint8_t* Data() const { return bytes_.data(); }

    void PutU8(std::size_t at, std::uint8_t value) const { Store(at, value); }
    void PutU16(std::size_t at, std::uint16_t value) const { Store(at, value); }
    void PutU32(std::size_t at, std::uint32_t value) const { Store(at, value); }
    void PutU64(std::size_t at, std::uint64_t value) const { Store(at, value); }
    void PutF32(std::size_t at, float value) const { Store(at, value); }
    void PutF64(std::size_t at, double value) const { Store(at, value); }
    void PutBytes(std::size_t at, std::span<const std::uint8_t> source) const {
        Check(at, source.size());
        if (!source.empty()) std::memcpy(bytes_.data() + at, source.data(), source.size());
    }
    void Fill(std::size_t at, std::size_t count, std::uint8_t value) const {
        Check(at, count);
        if (count) std::memset(bytes_.data() + at, value, count);
    }
    /// Moves bytes within the view; the ranges may overlap.
    void Move(std::size_t to, std::size_t from, std::size_t count) const {
        Check(from, count);
        Check(to, count);
        if (count) std::memmove(bytes_.data() + to, bytes_.data() + from, count);
    }
    MutableByteView Sub(std::size_t at, std::size_t count) const {
        Check(at, count);
        return bytes_.subspan(at, count);
    }

private:
    void Check(std::size_t at, std::size_t count) const {
        if (at > bytes_.size() || count > bytes_.size() - at) throw OutOfBounds{};
    }
    template <typename T>
    void Store(std::size_t at, T value) const {
        Check(at, sizeof(T));
        std::memcpy(bytes_.data() + at, &value, sizeof(T));
    }

    std::span<std::uint8_t> bytes_;
};

}  // namespace marrowkit::jet
