#include "cli/TerminalProgress.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>

#include "cli/Terminal.h"
#include "platform/process/StopRequest.h"
#include "platform/text/Utf8.h"

namespace marrowkit::cli {

namespace {

constexpr std::chrono::milliseconds kBetweenDrawings{100};
constexpr std::uint32_t kEventRunsBetweenClockReadings = 64;
constexpr int kBarCharacters = 30;
constexpr int kFewestBarCharacters = 8;
constexpr int kFewestPromptCharacters = 12;
/// Before it, a rate would be a guess.
constexpr double kSecondsBeforeRate = 1;

double SecondsBetween(std::chrono::steady_clock::time_point from, std::chrono::steady_clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

}  // namespace

TerminalProgress::Style TerminalProgress::StyleFor(const std::ostream& err, bool quiet) {
    if (quiet) return Style::Silent;
    const bool terminal = err.rdbuf() == std::cerr.rdbuf() && IsStandardErrorDrawable();
    return terminal ? Style::Bar : Style::Lines;
}

TerminalProgress::~TerminalProgress() {
    Clear();
}

void TerminalProgress::SetPrompt(const std::string& text) {
    prompt_ = text;
    prompts_.push_back(text);
    starts_.push_back(Clock::now());
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
    if (!cancelEnabled_ && !cancelled_ && !refused_ && interrupt_.Pressed()) RefuseToCancel();
    if (style_ != Style::Bar || ++eventRuns_ % kEventRunsBetweenClockReadings != 0) return;
    if (Clock::now() - lastDrawn_ >= kBetweenDrawings) Draw();
}

std::vector<TerminalProgress::Stage> TerminalProgress::Stages() const {
    std::vector<Stage> stages;
    for (std::size_t i = 0; i < prompts_.size(); ++i) {
        const Clock::time_point end = i + 1 < starts_.size() ? starts_[i + 1] : Clock::now();
        stages.push_back({prompts_[i], SecondsBetween(starts_[i], end)});
    }
    return stages;
}

/// " 37000/74157, 95000/s, 0:01 left"; empty before there is a rate.
std::string TerminalProgress::Pace() const {
    const double seconds = starts_.empty() ? 0 : SecondsBetween(starts_.back(), Clock::now());
    const double done = static_cast<double>(value_) - minimum_;
    if (seconds < kSecondsBeforeRate || done <= 0) return {};
    const double left = (static_cast<double>(maximum_) - value_) * seconds / done;
    constexpr int kSecondsOfAMinute = 60;
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), " %d/%d, %.0f/s, %d:%02d left", value_ - minimum_ + 1,
                  maximum_ - minimum_ + 1, done / seconds, static_cast<int>(left) / kSecondsOfAMinute,
                  static_cast<int>(left) % kSecondsOfAMinute);
    return text.data();
}

std::string TerminalProgress::Line() const {
    std::string line = prompt_;
    if (!status_.empty()) line += " " + status_;
    const int columns = TerminalColumns() - 1;
    if (maximum_ > minimum_) {
        const double share =
            (static_cast<double>(value_) - minimum_) / (static_cast<double>(maximum_) - minimum_);
        const std::string behind = " " + std::to_string(static_cast<int>(share * 100)) + "%" + Pace();
        constexpr int kBrackets = 3;  // and the blank before them
        const int free = columns - static_cast<int>(CharacterCount(line) + behind.size()) - kBrackets;
        if (const int bar = std::min(free, kBarCharacters); bar >= kFewestBarCharacters) {
            const int filled = std::clamp(static_cast<int>(share * bar), 0, bar);
            line += " [" + std::string(static_cast<std::size_t>(filled), '#') +
                    std::string(static_cast<std::size_t>(bar - filled), '.') + "]";
        }
        // How far it is says more than the end of a long prompt.
        const int room = columns - static_cast<int>(behind.size());
        if (room >= kFewestPromptCharacters) line = FirstCharacters(line, static_cast<std::size_t>(room));
        line += behind;
    }
    return std::string(FirstCharacters(line, static_cast<std::size_t>(std::max(columns, 1))));
}

/// Ctrl-C without any effect would look like a program that hangs.
void TerminalProgress::RefuseToCancel() {
    refused_ = true;
    if (style_ == Style::Silent) return;
    Clear();
    err_ << "The database is being written; this cannot be cancelled any more." << std::endl;
}

void TerminalProgress::Draw() {
    const std::string line = Line();
    const std::size_t characters = CharacterCount(line);
    err_ << '\r' << line;
    if (characters < drawnCharacters_) err_ << std::string(drawnCharacters_ - characters, ' ');
    err_ << std::flush;
    drawnCharacters_ = characters;
    lastDrawn_ = Clock::now();
}

void TerminalProgress::Clear() {
    if (drawnCharacters_ == 0) return;
    err_ << '\r' << std::string(drawnCharacters_, ' ') << '\r' << std::flush;
    drawnCharacters_ = 0;
}

}  // namespace marrowkit::cli
