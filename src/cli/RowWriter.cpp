#include "cli/RowWriter.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/jet/format/ValueText.h"

namespace marrowkit::cli {

namespace {

/// Collects small pieces into large writes. When an error ends the rows, those before it are written: of a
/// damaged table they are what there is to save.
class Output {
public:
    explicit Output(std::ostream& out) : out_(out) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() { Flush(); }
    std::string& Text() { return text_; }
    void RowDone() {
        if (text_.size() >= kBlockBytes) Flush();
    }
    void Flush() {
        out_.write(text_.data(), static_cast<std::streamsize>(text_.size()));
        text_.clear();
    }

private:
    static constexpr std::size_t kBlockBytes = 64u << 10;
    std::ostream& out_;
    std::string text_;
};

void AppendQuoted(std::string_view text, std::string& to) {
    to.push_back('"');
    for (std::size_t at = 0;;) {
        const std::size_t quote = text.find('"', at);
        if (quote == std::string_view::npos) {
            to.append(text.substr(at));
            break;
        }
        to.append(text.substr(at, quote + 1 - at)).push_back('"');
        at = quote + 1;
    }
    to.push_back('"');
}

class CsvRowWriter : public RowWriter {
public:
    CsvRowWriter(std::ostream& out, const std::vector<std::string>& columns) : output_(out) {
        std::string& text = output_.Text();
        for (const std::string& column : columns) {
            if (!text.empty()) text.push_back(',');
            if (column.empty() || column.find_first_of(",\"\r\n") != std::string::npos) {
                AppendQuoted(column, text);
            } else {
                text.append(column);
            }
        }
        text.push_back('\n');
    }

    void Write(std::span<const jet::Value> row) override {
        std::string& text = output_.Text();
        bool first = true;
        for (const jet::Value& value : row) {
            if (!first) text.push_back(',');
            first = false;
            if (const auto* plain = std::get_if<std::string>(&value)) {
                AppendQuoted(*plain, text);
            } else if (const auto* guid = std::get_if<jet::Guid>(&value)) {
                AppendQuoted(jet::GuidText(*guid), text);
            } else {
                jet::AppendValueText(value, text);
            }
        }
        text.push_back('\n');
        output_.RowDone();
    }

    void Finish() override { output_.Flush(); }

private:
    Output output_;
};

/// Whether a text means itself between the quotes of JSON.
bool IsPlainJson(const std::string& text) {
    return std::ranges::all_of(text, [](char c) { return c >= ' ' && c < '\x7F' && c != '"' && c != '\\'; });
}

std::string JsonText(const std::string& text) {
    if (IsPlainJson(text)) return '"' + text + '"';
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

struct JsonOf {
    std::string operator()(jet::Null) const { return "null"; }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(std::uint8_t value) const { return std::to_string(value); }
    std::string operator()(std::int16_t value) const { return std::to_string(value); }
    std::string operator()(std::int32_t value) const { return std::to_string(value); }
    std::string operator()(jet::Currency value) const { return jet::CurrencyText(value); }
    // JSON has no way to write what is not a finite number.
    std::string operator()(float value) const {
        return std::isfinite(value) ? jet::SingleText(value) : JsonText(jet::SingleText(value));
    }
    std::string operator()(double value) const {
        return std::isfinite(value) ? jet::DoubleText(value) : JsonText(jet::DoubleText(value));
    }
    std::string operator()(jet::DateTime value) const { return JsonText(jet::DateTimeText(value)); }
    std::string operator()(const std::string& value) const { return JsonText(value); }
    std::string operator()(const jet::Binary& value) const { return JsonText(jet::HexText(value)); }
    std::string operator()(const jet::Guid& value) const { return JsonText(jet::GuidText(value)); }
    std::string operator()(const jet::Numeric& value) const { return jet::NumericText(value); }
};

class JsonRowWriter : public RowWriter {
public:
    JsonRowWriter(std::ostream& out, const std::vector<std::string>& columns) : output_(out) {
        for (const std::string& column : columns) names_.push_back(JsonText(column) + ": ");
        output_.Text().push_back('[');
    }

    void Write(std::span<const jet::Value> row) override {
        std::string& text = output_.Text();
        text.append(rows_++ == 0 ? "\n  {" : ",\n  {");
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0) text.append(", ");
            text.append(names_.at(i)).append(std::visit(JsonOf{}, row[i]));
        }
        text.push_back('}');
        output_.RowDone();
    }

    void Finish() override {
        output_.Text().append(rows_ == 0 ? "]\n" : "\n]\n");
        output_.Flush();
    }

private:
    Output output_;
    std::vector<std::string> names_;
    std::uint64_t rows_ = 0;
};

}  // namespace

std::unique_ptr<RowWriter> MakeRowWriter(RowFormat format, std::ostream& out,
                                         const std::vector<std::string>& columns) {
    if (format == RowFormat::Json) return std::make_unique<JsonRowWriter>(out, columns);
    return std::make_unique<CsvRowWriter>(out, columns);
}

}  // namespace marrowkit::cli
