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

QImage SvgSymbolImages::render(const QString& name, const QSize& size, const QColor& tint) {
    QFile file(fileOf(name));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QSvgRenderer renderer(
        file.readAll().replace("currentColor", tint.name(QColor::HexRgb).toLatin1()));
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setOpacity(tint.alphaF());
    renderer.render(&painter);
    return image;
}

} // namespace velmorin
