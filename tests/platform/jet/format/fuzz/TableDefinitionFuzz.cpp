#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/fuzz/Fuzz.h"

using namespace marrowkit;

/// Whatever parses has to come back from its own serialisation.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const test::FuzzInput input(data, size);
    const jet::Geometry& geometry = jet::GeometryOf(input.version);
    try {
        const jet::TableDefinition table = jet::ParseTableDefinition(geometry, 3, input.bytes);
        const auto stored = jet::SerializeTableDefinition(geometry, table);
        const jet::TableDefinition back = jet::ParseTableDefinition(geometry, 3, jet::ByteView(stored));
        test::Require(jet::SerializeTableDefinition(geometry, back) == stored);
        test::Require(back.FixedAreaBytes() == table.FixedAreaBytes());
    } catch (const jet::OutOfBounds&) {
    }
    return 0;
}
