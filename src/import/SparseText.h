#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace marrowkit {

/// A text that most entries of a large table do not have: empty, it costs a pointer, a quarter of a
/// std::string. Otherwise as one.
class SparseText {
public:
    SparseText() = default;
    SparseText(const SparseText& other) { *this = other.Text(); }
    SparseText(SparseText&&) noexcept = default;
    ~SparseText() = default;

    SparseText& operator=(const SparseText& other) { return *this = std::string(other.Text()); }
    SparseText& operator=(SparseText&&) noexcept = default;
    SparseText& operator=(std::string text) {
        if (text.empty()) {
            text_.reset();
        } else {
            text_ = std::make_unique<std::string>(std::move(text));
        }
        return *this;
    }
    SparseText& operator=(std::string_view text) { return *this = std::string(text); }
    SparseText& operator=(const char* text) { return *this = std::string(text); }
    SparseText& operator+=(std::string_view text) { return *this = Text() + std::string(text); }

    bool empty() const { return text_ == nullptr; }
    /// Valid until the next assignment.
    const std::string& Text() const {
        static const std::string kEmpty;
        return text_ ? *text_ : kEmpty;
    }
    operator const std::string&() const { return Text(); }

    friend bool operator==(const SparseText& a, const SparseText& b) { return a.Text() == b.Text(); }
    friend bool operator==(const SparseText& a, std::string_view b) { return a.Text() == b; }

private:
    std::unique_ptr<std::string> text_;
};

}  // namespace marrowkit
