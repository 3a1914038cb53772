// SPDX-License-Identifier: MIT
#include "Platform/Qt/SvgSymbolImages.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace velmorin {

namespace {
QString fileOf(const QString& name) {
    return QStringLiteral(":/symbols/%1.svg").arg(name);
}
} // namespace

ImageRef SvgSymbolImages::imageWithSystemSymbolName(const QString& name,
                                                    const QString& description) {
    return QFile::exists(fileOf(name)) ? std::make_shared<Image>(name, description) : nullptr;
}

QImage SvgSymbolImages::render(const Image& image, const QSize& size, const QColor& tint) {
    QImage canvas(size, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    painter.setOpacity(tint.alphaF());
    painter.scale(size.width() / image.size().width(), size.height() / image.size().height());
    for (const Image::Drawing& drawing : image.drawings()) {
        QFile file(fileOf(drawing.symbolName));
        if (file.open(QIODevice::ReadOnly)) {
            QSvgRenderer renderer(
                file.readAll().replace("currentColor", tint.name(QColor::HexRgb).toLatin1()));
            renderer.render(&painter, drawing.place);
        }
    }
    return canvas;
}

QImage SvgSymbolImages::render(const QString& name, const QSize& size, const QColor& tint) {
    return QFile::exists(fileOf(name)) ? render(Image(name, {}), size, tint) : QImage();
}

} // namespace velmorin
