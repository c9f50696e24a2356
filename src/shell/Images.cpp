#include "shell/Images.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

#include "forms/QtText.h"
#include "platform/errors/RuntimeError.h"

// Resources of a static library are left out of a program unless somebody asks for them, from outside of all
// namespaces.
static void RegisterImages() {
    Q_INIT_RESOURCE(images);
}

namespace marrowkit {
namespace {

// The drawings are made on a grid that falls on whole pixels at these sizes; the larger ones serve high-DPI
// screens.
constexpr int kSizes[] = {16, 24, 32, 48, 64, 96, 128, 256};

/// The same picture whether its node is selected or not: a tinted one would be hard to tell.
void AddPicture(QIcon& icon, const QPixmap& pixmap) {
    icon.addPixmap(pixmap, QIcon::Normal);
    icon.addPixmap(pixmap, QIcon::Selected);
}

}  // namespace

QIcon BuiltInImage(std::string_view name) {
    RegisterImages();
    QSvgRenderer renderer(QStringLiteral(":/images/%1.svg").arg(ToQt(name)));
    QIcon icon;
    for (const int size : kSizes) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        renderer.render(&painter);
        painter.end();
        AddPicture(icon, pixmap);
    }
    return icon;
}

QIcon LoadStartupIcon(std::string_view hostPath) {
    const QString file =
        QFile::decodeName(QByteArray(hostPath.data(), static_cast<qsizetype>(hostPath.size())));
    QFile opened(file);
    if (!opened.exists()) Raise(RuntimeErrorNumber::FileNotFound);
    // Read at once: the picture's decoder asks for it in small pieces, back and forth.
    QByteArray bytes;
    if (opened.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) bytes = opened.readAll();
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    QImage image = reader.read();
    if (image.isNull()) Raise(RuntimeErrorNumber::InvalidPicture);
    image = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        auto* pixels = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (pixels[x] == qRgb(255, 255, 255)) pixels[x] = qRgba(255, 255, 255, 0);
        }
    }
    QIcon icon;
    AddPicture(icon, QPixmap::fromImage(std::move(image)));
    return icon;
}

}  // namespace marrowkit
