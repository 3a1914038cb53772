// SPDX-License-Identifier: MIT
// Shows all components of SharedUI in a window.
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>

#include "Platform/Qt/SymbolProvider.h"

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QQuickView view;
    view.engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
    velmorin::addSymbolProvider(*view.engine());
    view.setTitle(QStringLiteral("Components"));
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl(QStringLiteral("qrc:/qt/qml/examples/Gallery.qml")));
    view.show();
    return QGuiApplication::exec();
}
