#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace marrowkit {

/// The program's UTF-8 text as Qt wants it, and back. CR LF stays as it is.
inline QString ToQt(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::string FromQt(const QString& text) {
    return text.toStdString();
}

}  // namespace marrowkit
