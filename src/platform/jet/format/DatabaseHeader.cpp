#include "platform/jet/format/DatabaseHeader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {
namespace {

// Offsets on page 0.
constexpr std::size_t kVersionAt = 0x14;
constexpr std::size_t kMaskedAt = 0x18;
constexpr std::size_t kCountryAt = 0x38;
constexpr std::size_t kJet3LcidAt = 0x3A;
constexpr std::size_t kCodePageAt = 0x3C;
constexpr std::size_t kDatabaseKeyAt = 0x3E;
constexpr std::size_t kPasswordAt = 0x42;
constexpr std::size_t kJet3BuildAt = 0x56;
constexpr std::size_t kJet4BuildAt = 0x6A;
constexpr std::size_t kJet4SortOrderAt = 0x6E;
constexpr std::size_t kJet4SortVersionAt = 0x71;
constexpr std::size_t kJet4DateAt = 0x72;
constexpr std::size_t kJet4ConstantAt = 0x98;
constexpr std::size_t kHeaderBytes = 0x98;

constexpr std::size_t kJet3PasswordBytes = 20;
constexpr std::size_t kJet4PasswordUnits = 20;
constexpr std::size_t kMaxMaskedBytes = 128;
constexpr std::size_t kCommitWords = 256;

constexpr std::uint8_t kSignature[] = {0x00, 0x01, 0x00, 0x00, 'S', 't', 'a', 'n', 'd', 'a',
                                       'r',  'd',  ' ',  'J',  'e', 't', ' ', 'D', 'B', 0x00};
constexpr std::uint8_t kConstantPart[] = {0, 1, 0, 0, 1, 1, 0, 0, 2, 0, 0, 0,
                                          3, 0, 0, 0, 4, 0, 0, 0, 5, 0, 0, 0};
constexpr std::uint8_t kJet4Constant[] = {0x54, 0x06, 0x00, 0x00, '4', '.', '0', 0x00};

// Engine builds that new files claim: those of Access 97 and of Jet 4.0 with service pack 8.
constexpr std::uint32_t kJet3Build = 0x0D64;
constexpr std::uint32_t kJet4Build = 0x21AA;

using Rc4State = std::array<std::uint8_t, 256>;

constexpr Rc4State ScheduleKey(std::span<const std::uint8_t> key) {
    Rc4State state{};
    for (unsigned i = 0; i < 256; ++i) state[i] = static_cast<std::uint8_t>(i);
    unsigned j = 0;
    for (unsigned i = 0; i < 256; ++i) {
        j = (j + state[i] + key[i % key.size()]) & 0xFFU;
        std::swap(state[i], state[j]);
    }
    return state;
}

class Rc4Stream {
public:
    constexpr explicit Rc4Stream(std::span<const std::uint8_t> key) : state_(ScheduleKey(key)) {}
    constexpr std::uint8_t Next() {
        i_ = (i_ + 1) & 0xFFU;
        j_ = (j_ + state_[i_]) & 0xFFU;
        std::swap(state_[i_], state_[j_]);
        return state_[(state_[i_] + state_[j_]) & 0xFFU];
    }

private:
    Rc4State state_;
    unsigned i_ = 0;
    unsigned j_ = 0;
};

/// What page 0 is masked with, from 0x18 on.
constexpr std::array<std::uint8_t, kMaxMaskedBytes> kMask = [] {
    constexpr std::array<std::uint8_t, 4> kKey{0xC7, 0xDA, 0x39, 0x6B};
    Rc4Stream stream{std::span<const std::uint8_t>(kKey)};
    std::array<std::uint8_t, kMaxMaskedBytes> mask{};
    for (std::uint8_t& byte : mask) byte = stream.Next();
    return mask;
}();
static_assert(kMask[0] == 0xB5 && kMask[1] == 0x6F && kMask[15] == 0x9C);

void ApplyMask(JetVersion version, std::span<std::uint8_t> page0) {
    const std::size_t count = version == JetVersion::Jet4 ? 128 : 126;
    for (std::size_t i = 0; i < count; ++i) page0[kMaskedAt + i] ^= kMask[i];
}

/// The whole days of the creation date: what Jet 4 XORs a password with, four bytes at a time.
std::uint32_t DayNumber(double creationDate) {
    if (!(std::abs(creationDate) < 4.0e6)) return 0;
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(creationDate));
}

using PasswordUnits = std::array<std::uint16_t, kJet4PasswordUnits>;

PasswordUnits UnitsOf(const std::string& password) {
    PasswordUnits units{};
    const std::vector<std::uint8_t> stored = EncodeText(JetVersion::Jet4, password, false);
    std::copy_n(stored.begin(), std::min(stored.size(), sizeof units),
                reinterpret_cast<std::uint8_t*>(units.data()));
    return units;
}

/// Every even unit is XORed with the low half of the day number, every odd one with the high half.
void ApplyDayNumber(double creationDate, PasswordUnits& units) {
    const std::uint32_t day = DayNumber(creationDate);
    for (std::size_t i = 0; i < units.size(); i += 2) {
        units[i] = static_cast<std::uint16_t>(units[i] ^ (day & 0xFFFFU));
        units[i + 1] = static_cast<std::uint16_t>(units[i + 1] ^ (day >> 16U));
    }
}

std::string ReadJet3Password(ByteView page0) {
    std::size_t length = 0;
    while (length < kJet3PasswordBytes && page0.U8(kPasswordAt + length) != 0) ++length;
    return DecodeText(JetVersion::Jet3, page0.Sub(kPasswordAt, length));
}

std::string ReadJet4Password(ByteView page0, double creationDate) {
    PasswordUnits units;
    std::memcpy(units.data(), page0.Sub(kPasswordAt, sizeof units).Data(), sizeof units);
    ApplyDayNumber(creationDate, units);
    std::size_t length = 0;
    while (length < units.size() && units[length] != 0) ++length;
    std::array<std::uint8_t, sizeof units> bytes{};
    std::memcpy(bytes.data(), units.data(), sizeof units);
    return DecodeText(JetVersion::Jet4, ByteView(bytes).Sub(0, 2 * length));
}

void PutJet3Fields(const DatabaseHeader& header, MutableByteView page0) {
    page0.PutU16(kCountryAt, header.countryCode);
    page0.PutU16(kJet3LcidAt, header.sortOrder.lcid);
    const std::vector<std::uint8_t> password = EncodeText(JetVersion::Jet3, header.password, false);
    page0.PutBytes(kPasswordAt, std::span(password).first(std::min(password.size(), kJet3PasswordBytes)));
    page0.PutU32(kJet3BuildAt, header.engineBuild);
}

void PutJet4Fields(const DatabaseHeader& header, MutableByteView page0) {
    PasswordUnits units = UnitsOf(header.password);
    ApplyDayNumber(header.creationDate, units);
    for (std::size_t i = 0; i < units.size(); ++i) page0.PutU16(kPasswordAt + 2 * i, units[i]);
    page0.PutU32(kJet4BuildAt, header.engineBuild);
    page0.PutU16(kJet4SortOrderAt, header.sortOrder.lcid);
    page0.PutU8(kJet4SortVersionAt, header.sortOrder.version);
    page0.PutF64(kJet4DateAt, header.creationDate);
}

bool IsJetFile(ByteView page0) {
    return page0.Size() >= kHeaderBytes && std::memcmp(page0.Data(), kSignature, sizeof kSignature) == 0 &&
           page0.U32(kVersionAt) <= 1;
}

}  // namespace

DatabaseHeader ParseDatabaseHeader(ByteView page0, std::string_view fileName) {
    if (!IsJetFile(page0)) RaiseJet(JetError::UnrecognizedFormat, {std::string(fileName)});
    DatabaseHeader header;
    header.version = page0.U32(kVersionAt) == 1 ? JetVersion::Jet4 : JetVersion::Jet3;
    std::array<std::uint8_t, kHeaderBytes> plain{};
    std::memcpy(plain.data(), page0.Data(), plain.size());
    ApplyMask(header.version, plain);
    const ByteView view(plain);
    header.codePage = view.U16(kCodePageAt);
    header.databaseKey = view.U32(kDatabaseKeyAt);
    if (header.version == JetVersion::Jet3) {
        header.countryCode = view.U16(kCountryAt);
        header.sortOrder = {view.U16(kJet3LcidAt), 0};
        header.password = ReadJet3Password(view);
        header.engineBuild = view.U32(kJet3BuildAt);
    } else {
        header.creationDate = view.F64(kJet4DateAt);
        header.sortOrder = {view.U16(kJet4SortOrderAt), view.U8(kJet4SortVersionAt)};
        header.password = ReadJet4Password(view, header.creationDate);
        header.engineBuild = view.U32(kJet4BuildAt);
        header.sidKey = SidKeyOf(header);
    }
    return header;
}

std::vector<std::uint8_t> SerializeDatabaseHeader(const DatabaseHeader& header) {
    const Geometry& geometry = header.PageGeometry();
    std::vector<std::uint8_t> bytes(geometry.pageBytes);
    const MutableByteView page0(bytes);
    page0.PutBytes(0, kSignature);
    page0.PutU32(kVersionAt, header.version == JetVersion::Jet4 ? 1 : 0);
    page0.PutBytes(kMaskedAt, kConstantPart);
    page0.PutU16(kCodePageAt, header.codePage);
    page0.PutU32(kDatabaseKeyAt, header.databaseKey);
    if (header.version == JetVersion::Jet4) {
        PutJet4Fields(header, page0);
        page0.PutBytes(kJet4ConstantAt, kJet4Constant);
    } else {
        PutJet3Fields(header, page0);
    }
    ApplyMask(header.version, bytes);
    for (std::size_t word = 0; word < kCommitWords; ++word) {
        page0.PutU16(geometry.commitWordsStart + 2 * word, 0x0100);
    }
    return bytes;
}

DatabaseHeader NewDatabaseHeader(JetVersion version, double creationDate) {
    DatabaseHeader header;
    header.version = version;
    if (version == JetVersion::Jet3) {
        header.engineBuild = kJet3Build;
        return header;
    }
    header.engineBuild = kJet4Build;
    header.creationDate = creationDate;
    header.sidKey = SidKeyOf(header);
    return header;
}

std::array<std::uint8_t, 4> SidKeyOf(const DatabaseHeader& header) {
    // The password's units, then the eight u16 from the build number to the creation date.
    std::array<std::uint8_t, 28> lowBytes{};
    const PasswordUnits password = UnitsOf(header.password);
    for (std::size_t i = 0; i < password.size(); ++i) lowBytes[i] = static_cast<std::uint8_t>(password[i]);
    std::array<std::uint8_t, 16> stamp{};
    const MutableByteView view(stamp);
    view.PutU32(0, header.engineBuild);
    view.PutU16(4, header.sortOrder.lcid);
    view.PutU8(7, header.sortOrder.version);
    view.PutF64(8, header.creationDate);
    for (std::size_t i = 0; i < 8; ++i) lowBytes[password.size() + i] = stamp[2 * i];

    std::uint32_t key = view.View().U32(8);
    for (std::size_t i = 0; i < lowBytes.size(); ++i) key ^= std::uint32_t{lowBytes[i]} << (i % 24);
    std::array<std::uint8_t, 4> bytes{};
    std::memcpy(bytes.data(), &key, bytes.size());
    return bytes;
}

void ApplyRc4(std::span<const std::uint8_t> key, std::span<std::uint8_t> bytes) {
    Rc4Stream stream(key);
    for (std::uint8_t& byte : bytes) byte ^= stream.Next();
}

void ApplyPageEncoding(std::uint32_t databaseKey, PageNumber page, std::span<std::uint8_t> bytes) {
    if (databaseKey == 0 || page == 0) return;
    const std::uint32_t key = databaseKey ^ page;
    std::array<std::uint8_t, 4> keyBytes{};
    std::memcpy(keyBytes.data(), &key, keyBytes.size());
    ApplyRc4(keyBytes, bytes);
}

std::vector<std::uint8_t> ScrambleSid(const DatabaseHeader& header, std::span<const std::uint8_t> plain) {
    std::vector<std::uint8_t> sid(plain.begin(), plain.end());
    if (header.version == JetVersion::Jet4) ApplyRc4(header.sidKey, sid);
    return sid;
}

}  // namespace marrowkit::jet
