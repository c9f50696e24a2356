#include "shell/OpenFileDialog.h"

#include <QFile>
#include <QFileDialog>
#include <QStringList>
#include <cstdint>

#include "forms/Messages.h"
#include "forms/QtText.h"
#include "global/modGlobal.h"
#include "platform/files/FileTools.h"
#include "platform/files/FolderSearch.h"
#include "platform/files/HostPath.h"

namespace marrowkit {
namespace {

/// "Text files (*.txt)|*.txt" as Qt wants it. A description that names its pattern already is not told it
/// twice.
QStringList QtFilters(const QString& filter) {
    const QStringList parts = filter.split(QLatin1Char('|'));
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString description = parts[i];
        description.remove(QStringLiteral("(%1)").arg(parts[i + 1]));
        QString patterns = parts[i + 1];
        filters << QStringLiteral("%1 (%2)").arg(description.trimmed(),
                                                 patterns.replace(QLatin1Char(';'), QLatin1Char(' ')));
    }
    return filters;
}

bool IsReadOnly(const std::string& path) {
    const std::uint32_t attributes = AttributesOf(path);
    return attributes != kAttributesInvalid && (attributes & kAttributeReadOnly) != 0;
}

}  // namespace

std::string ShowOpenFileDialog(QWidget* owner, const std::string& initialFolder, const std::string& filter,
                               const std::string& title) {
    const std::string folder =
        FileTools().FolderExists(initialFolder) ? initialFolder : modGlobal::LibraryRoot;
    QFileDialog dialog(owner, ToQt(title), QFile::decodeName(HostPath(folder).c_str()));
    dialog.setObjectName(QStringLiteral("cDialog"));
    dialog.setNameFilters(QtFilters(ToQt(filter)));
    dialog.setFileMode(QFileDialog::ExistingFile);
    while (dialog.exec() == QDialog::Accepted) {
        std::string path = WindowsPath(QFile::encodeName(dialog.selectedFiles().value(0)).toStdString());
        if (!IsReadOnly(path)) return path;
        ShowMessageBox(owner,
                       path + "\r\nThis file is set to read-only.\r\nTry again with a different file name.",
                       MessageIcon::Exclamation, title);
    }
    return {};
}

}  // namespace marrowkit
