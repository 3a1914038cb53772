// SPDX-License-Identifier: MIT
// A Qt Quick window of the program's size, with its renderer and its kind of application object.
#include <QApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nWindow { width: 480; height: 680; visible: true;"
                      " title: \"An empty window\" }",
                      {});
    const std::unique_ptr<QObject> window(component.create());
    return window ? QApplication::exec() : 1;
}
