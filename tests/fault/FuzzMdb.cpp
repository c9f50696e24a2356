// Databases of any bytes: opening, reading, verifying, compacting and changing them answers or refuses.
//
// Input that begins like a database is taken as one. Any other input is a list of changes to a sound database
// made at the start: 0 (Jet 3) or 1 (Jet 4), then four bytes for each change, three of place and one of what
// to put there. So the fuzzer works on the structures from its first input on.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fault/Survival.h"
#include "fuzz/Require.h"
#include "platform/jet/check/CheckTestDatabase.h"

using namespace marrowkit;

namespace {

using Bytes = std::vector<std::uint8_t>;

const Bytes& SoundDatabase(jet::JetVersion version) {
    static const Bytes jet3 = test::MakeSmallCheckDatabase(jet::JetVersion::Jet3);
    static const Bytes jet4 = test::MakeSmallCheckDatabase(jet::JetVersion::Jet4);
    return version == jet::JetVersion::Jet3 ? jet3 : jet4;
}

Bytes DatabaseFrom(const std::uint8_t* data, std::size_t size) {
    constexpr char kSignature[] = "\0\1\0\0Standard Jet DB";
    if (size >= sizeof kSignature && std::memcmp(data, kSignature, sizeof kSignature) == 0) {
        return {data, data + size};
    }
    const bool isJet3 = size == 0 || data[0] % 2 == 0;
    Bytes bytes = SoundDatabase(isJet3 ? jet::JetVersion::Jet3 : jet::JetVersion::Jet4);
    for (std::size_t at = 1; at + 4 <= size; at += 4) {
        const auto place = static_cast<std::size_t>(data[at] | data[at + 1] << 8 | data[at + 2] << 16);
        bytes[place % bytes.size()] = data[at + 3];
    }
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes database = DatabaseFrom(data, size);
    test::Require(test::Survive(database).ills.empty());
    return 0;
}
