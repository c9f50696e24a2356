#include "platform/jet/format/Properties.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "platform/jet/format/Collation.h"
#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {
namespace {

constexpr std::uint8_t kJet3Signature[] = {'K', 'K', 'D', 0};
constexpr std::uint8_t kJet4Signature[] = {'M', 'R', '2', 0};

constexpr std::uint16_t kNamesChunk = 0x0080;
constexpr std::uint16_t kObjectChunk = 0x0000;
constexpr std::uint16_t kColumnChunk = 0x0001;
constexpr std::size_t kChunkHeaderBytes = 6;
constexpr std::size_t kRecordHeaderBytes = 8;

std::span<const std::uint8_t> SignatureOf(JetVersion version) {
    return version == JetVersion::Jet4 ? kJet4Signature : kJet3Signature;
}

/// Names of objects and properties are compared as Jet compares texts: case does not matter.
bool SameName(std::string_view left, std::string_view right) {
    return CompareText(JetVersion::Jet4, left, right) == 0;
}

/// Reads a u16 length and that many bytes of text; moves `at` behind them.
std::string TakeText(JetVersion version, ByteView bytes, std::size_t& at) {
    const std::uint16_t length = bytes.U16(at);
    std::string text = DecodeText(version, bytes.Sub(at + 2, length));
    at += 2U + length;
    return text;
}

std::vector<std::string> ParseNames(JetVersion version, ByteView body) {
    std::vector<std::string> names;
    for (std::size_t at = 0; at < body.Size();) names.push_back(TakeText(version, body, at));
    return names;
}

Property ParseRecord(ByteView record, const std::vector<std::string>& names) {
    Property property;
    property.ddlFlag = record.U8(2);
    property.type = static_cast<ColumnType>(record.U8(3));
    const std::uint16_t name = record.U16(4);
    if (name >= names.size()) throw BadStructure("a property has no name");
    property.name = names[name];
    const ByteView value = record.Sub(kRecordHeaderBytes, record.U16(6));
    property.value.assign(value.All().begin(), value.All().end());
    return property;
}

PropertyGroup ParseGroup(JetVersion version, std::uint16_t chunkType, ByteView body,
                         const std::vector<std::string>& names) {
    PropertyGroup group;
    group.chunkType = chunkType;
    const std::uint32_t ownerBytes = body.U32(0);
    std::size_t at = 4;
    group.owner = TakeText(version, body.Sub(0, ownerBytes), at);
    for (at = ownerBytes; at < body.Size();) {
        const std::uint16_t size = body.U16(at);
        if (size < kRecordHeaderBytes) throw BadStructure("a property is shorter than its own header");
        group.properties.push_back(ParseRecord(body.Sub(at, size), names));
        at += size;
    }
    return group;
}

// ---------------------------------------------------------------- writing

using Stored = std::vector<std::uint8_t>;

void Put16(std::size_t value, Stored& bytes) {
    if (value > 0xFFFF) throw BadStructure("a property is too long");
    bytes.push_back(static_cast<std::uint8_t>(value));
    bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
}

void Put32(std::size_t value, Stored& bytes) {
    Put16(value & 0xFFFFU, bytes);
    Put16(value >> 16U, bytes);
}

void PutText(JetVersion version, std::string_view text, Stored& bytes) {
    const Stored stored = EncodeText(version, text, false);
    Put16(stored.size(), bytes);
    bytes.insert(bytes.end(), stored.begin(), stored.end());
}

void PutChunk(std::uint16_t type, const Stored& body, Stored& bytes) {
    Put32(body.size() + kChunkHeaderBytes, bytes);
    Put16(type, bytes);
    bytes.insert(bytes.end(), body.begin(), body.end());
}

/// Names in the order of their first use, each once.
class NameList {
public:
    std::size_t IndexOf(const std::string& name) {
        const auto [entry, isNew] = positions_.try_emplace(name, names_.size());
        if (isNew) names_.push_back(name);
        return entry->second;
    }
    const std::vector<std::string>& Names() const { return names_; }

private:
    std::map<std::string, std::size_t> positions_;
    std::vector<std::string> names_;
};

Stored GroupBody(JetVersion version, const PropertyGroup& group, NameList& names) {
    Stored owner;
    PutText(version, group.owner, owner);
    Stored body;
    Put32(owner.size() + 4, body);
    body.insert(body.end(), owner.begin(), owner.end());
    for (const Property& property : group.properties) {
        Put16(kRecordHeaderBytes + property.value.size(), body);
        body.push_back(property.ddlFlag);
        body.push_back(static_cast<std::uint8_t>(property.type));
        Put16(names.IndexOf(property.name), body);
        Put16(property.value.size(), body);
        body.insert(body.end(), property.value.begin(), property.value.end());
    }
    return body;
}

/// Expressions may be long, so the engine keeps them as Memo; other texts are Text.
ColumnType TextTypeOf(std::string_view name) {
    return SameName(name, "DefaultValue") || SameName(name, "ValidationRule") ? ColumnType::Memo
                                                                              : ColumnType::Text;
}

Property& FindOrAdd(PropertyBlob& blob, std::string_view owner, std::string_view name, ColumnType type) {
    auto group = std::find_if(blob.groups.begin(), blob.groups.end(),
                              [owner](const PropertyGroup& g) { return SameName(g.owner, owner); });
    if (group == blob.groups.end()) {
        PropertyGroup added;
        added.chunkType = owner.empty() ? kObjectChunk : kColumnChunk;
        added.owner = owner;
        group = blob.groups.insert(owner.empty() ? blob.groups.begin() : blob.groups.end(), added);
    }
    for (Property& property : group->properties) {
        if (SameName(property.name, name)) return property;
    }
    Property added;
    added.name = name;
    added.type = type;
    added.ddlFlag = 1;
    return group->properties.emplace_back(std::move(added));
}

}  // namespace

PropertyBlob ParseProperties(JetVersion version, ByteView blob) {
    const auto signature = SignatureOf(version);
    if (std::memcmp(blob.Sub(0, signature.size()).Data(), signature.data(), signature.size()) != 0) {
        throw BadStructure("properties do not begin with their signature");
    }
    PropertyBlob parsed;
    std::vector<std::string> names;
    for (std::size_t at = signature.size(); at < blob.Size();) {
        const std::uint32_t size = blob.U32(at);
        const std::uint16_t type = blob.U16(at + 4);
        if (size < kChunkHeaderBytes) throw BadStructure("a chunk of properties is shorter than its header");
        const ByteView body = blob.Sub(at, size).From(kChunkHeaderBytes);
        if (type == kNamesChunk) {
            names = ParseNames(version, body);
        } else {
            parsed.groups.push_back(ParseGroup(version, type, body, names));
        }
        at += size;
    }
    return parsed;
}

std::vector<std::uint8_t> SerializeProperties(JetVersion version, const PropertyBlob& blob) {
    NameList names;
    std::vector<Stored> bodies;
    for (const PropertyGroup& group : blob.groups) bodies.push_back(GroupBody(version, group, names));
    Stored nameBody;
    for (const std::string& name : names.Names()) PutText(version, name, nameBody);

    const auto signature = SignatureOf(version);
    Stored bytes(signature.begin(), signature.end());
    PutChunk(kNamesChunk, nameBody, bytes);
    for (std::size_t i = 0; i < bodies.size(); ++i) PutChunk(blob.groups[i].chunkType, bodies[i], bytes);
    return bytes;
}

const Property* PropertyBlob::Find(std::string_view owner, std::string_view name) const {
    for (const PropertyGroup& group : groups) {
        if (!SameName(group.owner, owner)) continue;
        for (const Property& property : group.properties) {
            if (SameName(property.name, name)) return &property;
        }
    }
    return nullptr;
}

std::optional<bool> PropertyBlob::Bool(std::string_view owner, std::string_view name) const {
    const Property* const property = Find(owner, name);
    if (property == nullptr) return std::nullopt;
    // One byte, or four in some files; any bit means True.
    return std::any_of(property->value.begin(), property->value.end(), [](std::uint8_t b) { return b != 0; });
}

std::optional<std::string> PropertyBlob::Text(JetVersion version, std::string_view owner,
                                              std::string_view name) const {
    const Property* const property = Find(owner, name);
    if (property == nullptr) return std::nullopt;
    return DecodeText(version, ByteView(property->value));
}

void PropertyBlob::SetBool(std::string_view owner, std::string_view name, bool value) {
    FindOrAdd(*this, owner, name, ColumnType::Boolean).value = {static_cast<std::uint8_t>(value ? 1 : 0)};
}

void PropertyBlob::SetText(JetVersion version, std::string_view owner, std::string_view name,
                           std::string_view value) {
    FindOrAdd(*this, owner, name, TextTypeOf(name)).value = EncodeText(version, value, false);
}

}  // namespace marrowkit::jet
