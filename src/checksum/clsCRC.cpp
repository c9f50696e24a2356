#include "checksum/clsCRC.h"

#include <algorithm>

#include "checksum/Crc16.h"
#include "platform/files/HostPath.h"
#include "platform/text/CodePage1252.h"

namespace marrowkit {

namespace {

/// Small enough to stay in the processor's own cache between being read and being summed, large enough for
/// the system calls not to show.
constexpr std::size_t kBlockBytes = 256u << 10;

constexpr std::uint32_t kCrc32Start = 0xFFFFFFFFu;
constexpr int kCrc16Number = 0;
constexpr int kTrue = -1;

std::span<const std::uint8_t> BytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

clsCRC::clsCRC() : loop_(BestCrc32Loop()) {}

std::int32_t clsCRC::AddBytes(std::span<const std::uint8_t> bytes) {
    if (crc32Selected_) {
        running32_ = loop_(running32_, bytes);
    } else if (!bytes.empty()) {
        running16_ = Crc16(static_cast<std::uint16_t>(running16_), bytes);
    }
    return Value();
}

std::int32_t clsCRC::AddString(std::string_view text) {
    return AddBytes(BytesOf(Utf8ToCp1252(text)));
}

void clsCRC::SetAlgorithm(int number) {
    crc32Selected_ = number != kCrc16Number;
    Clear();
}

int clsCRC::Algorithm() const {
    return crc32Selected_ ? kTrue : kCrc16Number;
}

std::int32_t clsCRC::CalculateBytes(std::span<const std::uint8_t> bytes) {
    Clear();
    return AddBytes(bytes);
}

std::int32_t clsCRC::CalculateString(std::string_view text) {
    Clear();
    return AddString(text);
}

std::optional<std::int32_t> clsCRC::CalculateFile(std::string_view path) {
    WholeFileReader file(HostPath(path).c_str());
    return CalculateOpenFile(file);
}

// The sum is that of the bytes which the file had when its length was asked for. Reading block by block gives
// it without ever holding a large file in memory. An error on the way leaves the running values as they were,
// as it would if all had been read before the first byte was summed.
std::optional<std::int32_t> clsCRC::CalculateOpenFile(WholeFileReader& file) {
    std::uint64_t left = file.Length();
    if (left == 0) return std::nullopt;
    if (left > kBlockBytes) file.ExpectWholeRead();
    if (block_.empty()) block_.resize(kBlockBytes);

    clsCRC sum;
    sum.SetAlgorithm(Algorithm());
    while (left > 0) {
        const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, kBlockBytes));
        const std::size_t got = file.Read({block_.data(), wanted});
        sum.AddBytes({block_.data(), got});
        if (got < wanted) break;  // cut short by somebody else since
        left -= got;
        if (left > 0 && goOn_ && !goOn_()) return std::nullopt;
    }
    running16_ = sum.running16_;
    running32_ = sum.running32_;
    return Value();
}

std::int32_t clsCRC::Value() const {
    if (crc32Selected_) return static_cast<std::int32_t>(~running32_);
    return running16_ & 0xFFFF;
}

void clsCRC::SetValue(std::int32_t value) {
    if (crc32Selected_) {
        running32_ = static_cast<std::uint32_t>(value);
    } else {
        running16_ = value;
    }
}

void clsCRC::Clear() {
    running16_ = 0;
    running32_ = kCrc32Start;
}

}  // namespace marrowkit
