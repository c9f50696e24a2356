#include "platform/jet/format/Properties.h"
#include "platform/jet/format/fuzz/Fuzz.h"

using namespace marrowkit;

/// Whatever parses has to survive a round trip.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const test::FuzzInput input(data, size);
    try {
        jet::PropertyBlob blob = jet::ParseProperties(input.version, input.bytes);
        const auto stored = jet::SerializeProperties(input.version, blob);
        const jet::PropertyBlob back = jet::ParseProperties(input.version, jet::ByteView(stored));
        test::Require(back.groups.size() == blob.groups.size());
        for (std::size_t i = 0; i < blob.groups.size(); ++i) {
            test::Require(back.groups[i].properties.size() == blob.groups[i].properties.size());
            for (std::size_t j = 0; j < blob.groups[i].properties.size(); ++j) {
                test::Require(back.groups[i].properties[j].value == blob.groups[i].properties[j].value);
            }
        }
        blob.SetBool("a", "Required", true);
        test::Require(blob.Bool("a", "Required") == true);
    } catch (const jet::OutOfBounds&) {
    }
    return 0;
}
