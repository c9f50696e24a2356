#include "cli/TerminalProgress.h"

#include <algorithm>
#include <iostream>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

#include "platform/process/StopRequest.h"
#include "platform/text/Utf8.h"

namespace marrowkit::cli {

namespace {

constexpr std::chrono::milliseconds kBetweenDrawings{100};
constexpr std::uint32_t kEventRunsBetweenClockReadings = 64;
constexpr int kBarCharacters = 30;

bool StandardErrorIsTerminal() {
#ifdef _WIN32
    return _isatty(2) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

}  // namespace

TerminalProgress::Style TerminalProgress::StyleFor(const std::ostream& err, bool quiet) {
    if (quiet) return Style::Silent;
    const bool terminal = err.rdbuf() == std::cerr.rdbuf() && StandardErrorIsTerminal();
    return terminal ? Style::Bar : Style::Lines;
}

TerminalProgress::~TerminalProgress() {
    Clear();
}

void TerminalProgress::SetPrompt(const std::string& text) {
    prompt_ = text;
    status_.clear();
    minimum_ = maximum_ = value_ = 0;
    if (style_ == Style::Lines) err_ << text << '\n';
    if (style_ == Style::Bar) Draw();
}

void TerminalProgress::SetBarRange(std::int32_t minimum, std::int32_t maximum) {
    minimum_ = value_ = minimum;
    maximum_ = maximum;
}

void TerminalProgress::LetEventsRun() {
    if (cancelEnabled_ && (interrupt_.Pressed() || IsStopRequested())) cancelled_ = true;
    if (style_ != Style::Bar || ++eventRuns_ % kEventRunsBetweenClockReadings != 0) return;
    if (std::chrono::steady_clock::now() - lastDrawn_ >= kBetweenDrawings) Draw();
}

std::string TerminalProgress::Line() const {
    std::string line = prompt_;
    if (!status_.empty()) line += " " + status_;
    if (maximum_ > minimum_) {
        const double share =
            (static_cast<double>(value_) - minimum_) / (static_cast<double>(maximum_) - minimum_);
        const int filled = std::clamp(static_cast<int>(share * kBarCharacters), 0, kBarCharacters);
        line += " [" + std::string(static_cast<std::size_t>(filled), '#') +
                std::string(static_cast<std::size_t>(kBarCharacters - filled), '.') + "] " +
                std::to_string(static_cast<int>(share * 100)) + "%";
    }
    return line;
}

void TerminalProgress::Draw() {
    const std::string line = Line();
    const std::size_t characters = CharacterCount(line);
    err_ << '\r' << line;
    if (characters < drawnCharacters_) err_ << std::string(drawnCharacters_ - characters, ' ');
    err_ << std::flush;
    drawnCharacters_ = characters;
    lastDrawn_ = std::chrono::steady_clock::now();
}

void TerminalProgress::Clear() {
    if (drawnCharacters_ == 0) return;
    err_ << '\r' << std::string(drawnCharacters_, ' ') << '\r' << std::flush;
    drawnCharacters_ = 0;
}

}  // namespace marrowkit::cli
