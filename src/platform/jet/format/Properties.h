#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/Format.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

/// One property: its name, type code, ddl flag and stored bytes (text in the file's own encoding).
struct Property {
    std::string name;
    ColumnType type = ColumnType::Text;
    std::uint8_t ddlFlag = 0;
    std::vector<std::uint8_t> value;
    bool operator==(const Property&) const = default;
};

/// The properties of an object (empty owner) or of one of its columns.
struct PropertyGroup {
    std::uint16_t chunkType = 0;  ///< 0 object, 1 column
    std::string owner;
    std::vector<Property> properties;
    bool operator==(const PropertyGroup&) const = default;
};

/// An LvProp blob taken apart. Parsing and serialising an untouched blob gives the same properties, not
/// necessarily the same bytes; a blob that is not changed is copied, never rewritten.
struct PropertyBlob {
    std::vector<PropertyGroup> groups;

    const Property* Find(std::string_view owner, std::string_view name) const;
    std::optional<bool> Bool(std::string_view owner, std::string_view name) const;
    std::optional<std::string> Text(JetVersion version, std::string_view owner, std::string_view name) const;
    void SetBool(std::string_view owner, std::string_view name, bool value);
    void SetText(JetVersion version, std::string_view owner, std::string_view name, std::string_view value);
};

/// Throws OutOfBounds on a blob that does not hold together.
PropertyBlob ParseProperties(JetVersion version, ByteView blob);
std::vector<std::uint8_t> SerializeProperties(JetVersion version, const PropertyBlob& blob);

}  // namespace marrowkit::jet
