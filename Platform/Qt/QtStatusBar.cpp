// SPDX-License-Identifier: MIT
#include "Platform/Qt/QtStatusBar.h"

#include "Platform/Qt/SvgSymbolImages.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QPixmap>
#include <QPointer>
#include <QSystemTrayIcon>

#include <algorithm>

namespace velmorin {

namespace {

constexpr int kSizes[] = {16, 22, 24, 32, 44, 48, 64};

/// An icon with its image; templates follow the palette's text colour.
class TrayButton : public QObject, public StatusBarButton {
public:
    explicit TrayButton(const std::vector<std::shared_ptr<TrayWatch>>& trays) {
        qApp->installEventFilter(this);
        for (const auto& tray : trays) {
            tray->onAppear([self = QPointer(this)] {
                if (self) {
                    self->appear();
                }
            });
        }
        if (std::ranges::any_of(trays, &TrayWatch::isThere)) {
            appear();
        }
    }

    [[nodiscard]] ImageRef image() const override { return m_image; }

    void setImage(const ImageRef& image) override {
        if (m_image) {
            disconnect(m_image.get(), nullptr, this, nullptr);
        }
        m_image = image;
        if (m_image) {
            connect(m_image.get(), &Image::changed, this, &TrayButton::draw);
        }
        draw();
    }

    void setAction(std::function<void()> action) override { m_action = std::move(action); }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange) {
            draw();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    void appear() {
        if (m_icon) {
            return; // Qt finds a tray that is there again by itself
        }
        m_icon = std::make_unique<QSystemTrayIcon>();
        connect(m_icon.get(), &QSystemTrayIcon::activated, this,
                [this](QSystemTrayIcon::ActivationReason reason) {
                    const bool click = reason == QSystemTrayIcon::Trigger ||
                                       reason == QSystemTrayIcon::DoubleClick;
                    if (click && m_action) {
                        m_action();
                    }
                });
        draw();
    }

    void draw() {
        if (!m_icon || !m_image) {
            if (m_icon) {
                m_icon->hide();
            }
            return;
        }
        const QColor tint = m_image->isTemplate()
                                ? QGuiApplication::palette().color(QPalette::WindowText)
                                : QColor(Qt::black);
        QIcon icon;
        for (const int size : kSizes) {
            icon.addPixmap(
                QPixmap::fromImage(SvgSymbolImages::render(*m_image, {size, size}, tint)));
        }
        m_icon->setIcon(icon);
        m_icon->setToolTip(m_image->accessibilityDescription());
        m_icon->show();
    }

    std::unique_ptr<QSystemTrayIcon> m_icon; ///< Null until there is a tray.
    ImageRef m_image;
    std::function<void()> m_action;
};

class TrayItem : public StatusItem {
public:
    explicit TrayItem(const std::vector<std::shared_ptr<TrayWatch>>& trays) : m_button(trays) {}

    [[nodiscard]] StatusBarButton* button() override { return &m_button; }

private:
    TrayButton m_button;
};

} // namespace

QtStatusBar::QtStatusBar(std::vector<std::shared_ptr<TrayWatch>> trays)
    : m_trays(std::move(trays)) {}

std::shared_ptr<StatusItem> QtStatusBar::statusItem(double /*length*/) {
    return std::make_shared<TrayItem>(m_trays);
}

} // namespace velmorin
