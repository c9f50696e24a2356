// Databases of any bytes: opening, reading, verifying and compacting them answers or refuses.
//
// Input that begins like a database is taken as one. Any other input is a list of changes to a sound database
// made at the start: 0 (Jet 3) or 1 (Jet 4), then four bytes for each change, three of place and one of what
// to put there. So the fuzzer works on the structures from its first input on.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fault/MemoryStorage.h"
#include "fault/Walk.h"
#include "fuzz/Require.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/check/CheckTestDatabase.h"
#include "platform/jet/compact/Compact.h"
#include "platform/jet/engine/Database.h"

using namespace marrowkit;

namespace {

using Bytes = test::MemoryStorage::Bytes;

const Bytes& SoundDatabase(jet::JetVersion version) {
    static const Bytes jet3 = test::MakeCheckDatabase(jet::JetVersion::Jet3);
    static const Bytes jet4 = test::MakeCheckDatabase(jet::JetVersion::Jet4);
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
    test::MemoryStorage storage;
    storage.Put("a.mdb", DatabaseFrom(data, size));
    try {
        test::ReadEverything(storage, "a.mdb");
    } catch (const RuntimeError&) {
        // Refused.
    }
    jet::Check("a.mdb", 50, &storage);
    jet::OpenOptions options;
    options.storage = &storage;
    try {
        jet::Compact("a.mdb", "b.mdb", options);
        test::Require(storage.Exists("b.mdb"));
    } catch (const RuntimeError&) {
        test::Require(!storage.Exists("b.mdb"));
    }
    return 0;
}
