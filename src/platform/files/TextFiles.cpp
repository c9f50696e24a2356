#include "platform/files/TextFiles.h"

#include "platform/files/HostPath.h"
#include "platform/text/CodePage1252.h"

namespace marrowkit {

namespace {

constexpr std::size_t kPieceBytes = std::size_t{128} * 1024;

}  // namespace

void WriteTextFile(std::string_view path, std::string_view text) {
    WriteHostFile(HostPath(path), Utf8ToCp1252(text) + "\r\n");
}

std::string ReadWholeFile(std::string_view path) {
    return ReadHostFile(HostPath(path));
}

SequentialReader::SequentialReader(std::string_view path)
    : file_(HostPath(path), HostFile::Mode::Read), fileBytes_(file_.Size()), buffer_(kPieceBytes) {}

std::string_view SequentialReader::Next() {
    return {buffer_.data(), file_.Read(buffer_)};
}

bool LineReader::Refill() {
    if (piece_.empty()) piece_ = reader_.Next();
    if (skipLineFeed_ && !piece_.empty()) {
        if (piece_.front() == '\n') piece_.remove_prefix(1);
        skipLineFeed_ = false;
        if (piece_.empty()) piece_ = reader_.Next();
    }
    return !piece_.empty();
}

bool LineReader::Next(std::string& line) {
    line.clear();
    if (!Refill()) return false;
    do {
        const std::size_t end = piece_.find('\r');
        line.append(piece_.substr(0, end));
        if (end != std::string_view::npos) {
            piece_.remove_prefix(end + 1);
            skipLineFeed_ = true;
            return true;
        }
        piece_ = {};
    } while (Refill());
    return true;
}

}  // namespace marrowkit
