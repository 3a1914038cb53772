// SPDX-License-Identifier: MIT
#include "Platform/Qt/SymbolProvider.h"

#include "Platform/Qt/SvgSymbolImages.h"

#include <QQuickImageProvider>

namespace velmorin {

namespace {

class SymbolProvider : public QQuickImageProvider {
public:
    SymbolProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override {
        QImage image = SvgSymbolImages::render(id.section(u'/', 0, 0), requestedSize,
                                               QColor(u'#' + id.section(u'/', 1, 1)));
        *size = image.size();
        return image;
    }
};

} // namespace

void addSymbolProvider(QQmlEngine& engine) {
    engine.addImageProvider(QStringLiteral("symbol"), new SymbolProvider);
}

} // namespace velmorin
