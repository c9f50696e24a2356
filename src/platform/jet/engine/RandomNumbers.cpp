#include "platform/jet/engine/RandomNumbers.h"

#include <cstring>
#include <random>

namespace marrowkit::jet {

namespace {

std::uint64_t NextRandom() {
    static thread_local std::mt19937_64 generator = [] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }();
    return generator();
}

}  // namespace

std::int32_t RandomAutoNumber() {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(NextRandom()));
}

Guid RandomGuid() {
    Guid guid;
    const std::uint64_t halves[2] = {NextRandom(), NextRandom()};
    std::memcpy(guid.bytes.data(), halves, sizeof(halves));
    // Version and variant bits; the third group is stored little-endian.
    guid.bytes[7] = static_cast<std::uint8_t>((guid.bytes[7] & 0x0F) | 0x40);
    guid.bytes[8] = static_cast<std::uint8_t>((guid.bytes[8] & 0x3F) | 0x80);
    return guid;
}

}  // namespace marrowkit::jet
