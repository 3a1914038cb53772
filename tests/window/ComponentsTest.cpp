// SPDX-License-Identifier: MIT
// The components as the gallery shows them.
#include "Platform/Qt/SymbolProvider.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPalette>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>

#include <gtest/gtest.h>

namespace velmorin {
namespace {

struct Components : testing::Test {
    Components() {
        view.engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
        addSymbolProvider(*view.engine());
        view.setSource(QUrl(QStringLiteral("qrc:/qt/qml/examples/Gallery.qml")));
        view.show();
    }

    [[nodiscard]] QQuickItem* item(const char* name) const {
        return view.rootObject()->findChild<QQuickItem*>(QString::fromLatin1(name));
    }
    void setPalette(Qt::GlobalColor window) {
        QGuiApplication::setPalette(QPalette(window));
        picture = view.grabWindow();
    }
    [[nodiscard]] QColor colorAt(const QQuickItem* shown, const QPointF& place) const {
        return picture.pixelColor(shown->mapToScene(place).toPoint());
    }
    void press(int key) {
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, Qt::NoModifier);
            QCoreApplication::sendEvent(&view, &event);
        }
    }

    QQuickView view;
    QImage picture;
};

TEST_F(Components, FollowLightAndDark) {
    const std::pair<Qt::GlobalColor, bool> desktops[] = {{Qt::white, true}, {Qt::black, false}};
    for (const auto& [window, isLight] : desktops) {
        setPalette(window);
        for (const char* name : {"popover", "card"}) {
            const QQuickItem* shown = item(name);
            const QColor inside = colorAt(shown, {shown->width() - 8, shown->height() - 8});
            EXPECT_EQ(inside.lightnessF() > 0.5, isLight) << name;
        }
    }
    QGuiApplication::setPalette(QPalette());
}

TEST_F(Components, AreOperatedByTheKeyboard) {
    item("action")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    press(Qt::Key_Space);
    EXPECT_EQ(view.rootObject()->property("presses").toInt(), 2);

    QObject* slider = item("slider");
    double moved = 0;
    for (QObject* part : slider->findChildren<QObject*>()) {
        if (part->inherits("QQuickSlider")) {
            qobject_cast<QQuickItem*>(part)->forceActiveFocus(Qt::TabFocusReason);
            press(Qt::Key_Right);
            moved = part->property("value").toDouble();
        }
    }
    EXPECT_EQ(moved, 45);
}

} // namespace
} // namespace velmorin
