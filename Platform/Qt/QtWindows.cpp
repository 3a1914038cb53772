// SPDX-License-Identifier: MIT
#include "Platform/Qt/QtWindows.h"

#include "Platform/Qt/SymbolProvider.h"
#include "Platform/Qt/WindowPlacement.h"

#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>

#include <chrono>
#include <utility>

namespace velmorin {

using namespace std::chrono_literals;

namespace {

/// The engine of all windows' views.
std::shared_ptr<QQmlEngine> makeEngine() {
    auto engine = std::make_shared<QQmlEngine>();
    engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    addSymbolProvider(*engine);
    // Qt Quick has to know its own types before there is a window: a screen reader that looks at
    // one earlier makes it conclude, for good, that no item has a name or a role.
    QQmlComponent(engine.get()).setData("import QtQuick; Item {}", {});
    return engine;
}

/// A drag changes the frame some hundred times a second; this often it is stored.
constexpr auto kSaveInterval = 100ms;

QList<QRect> screenAreas() {
    QList<QRect> areas;
    for (const QScreen* screen : QGuiApplication::screens()) {
        areas << screen->availableGeometry();
    }
    return areas;
}

class QuickWindow : public QObject, public Window {
public:
    QuickWindow(const QSize& contentSize, std::shared_ptr<QQmlEngine> engine,
                std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<UserDefaults> defaults)
        : m_engine(std::move(engine)), m_mainQueue(std::move(mainQueue)),
          m_defaults(std::move(defaults)), m_window(std::make_unique<QQuickWindow>()) {
        m_window->resize(contentSize);
        m_window->installEventFilter(this);
        for (const auto change : {&QWindow::xChanged, &QWindow::yChanged, &QWindow::widthChanged,
                                  &QWindow::heightChanged}) {
            connect(m_window.get(), change, this, &QuickWindow::saveFrameLater);
        }
        connect(m_window.get(), &QWindow::widthChanged, this, &QuickWindow::fill);
        connect(m_window.get(), &QWindow::heightChanged, this, &QuickWindow::fill);
        // Queued: other things may have waited for the window to be shown, and come first.
        connect(m_window.get(), &QQuickWindow::frameSwapped, this, &QuickWindow::makeContent,
                static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
        connect(qApp, &QCoreApplication::aboutToQuit, this, &QuickWindow::takeDown);
    }

    ~QuickWindow() override { takeDown(); }

    void setTitle(const QString& title) override { m_window->setTitle(title); }

    void setContentView(const View& view) override {
        m_view = view;
        if (m_isDrawn) {
            makeContent();
        }
    }

    void setMinSize(const QSize& size) override { m_window->setMinimumSize(size); }

    void center() override {
        const QRect frame =
            centeredFrame(m_window->size(), m_window->screen()->availableGeometry());
        m_window->resize(frame.size());
        m_window->setFramePosition(frame.topLeft());
    }

    void setFrameAutosaveName(const QString& name) override {
        m_autosaveName = name;
        const std::optional<QString> stored = m_defaults->string(name);
        const std::optional<QRect> frame = stored ? frameFromString(*stored) : std::nullopt;
        if (frame) {
            place(*frame);
        }
    }

    void setDelegate(WindowDelegate* delegate) override { m_delegate = delegate; }

    void makeKeyAndOrderFront() override {
        if (!m_window) {
            return;
        }
        if (!m_window->isVisible() && m_frame) {
            place(*m_frame); // the screens may be others by now
        }
        if (m_window->windowStates().testFlag(Qt::WindowMinimized)) {
            m_window->setWindowStates(m_window->windowStates() & ~Qt::WindowMinimized);
        }
        m_window->show();
        m_window->raise();
        m_window->requestActivate();
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Expose && m_window) { // none while it is taken down
            m_window->setColor(QGuiApplication::palette().color(QPalette::Window));
        }
        if (event->type() == QEvent::Close) {
            saveFrame(); // while the window still has its frame
            if (m_delegate != nullptr) {
                m_delegate->windowWillClose();
            }
        }
        return QObject::eventFilter(watched, event);
    }

private:
    void makeContent() {
        m_isDrawn = true;
        m_content.reset();
        if (!m_window || m_view == View()) {
            return;
        }
        QQmlComponent component(m_engine.get(), m_view.source);
        if (!component.isReady()) {
            qFatal("%s", qUtf8Printable(component.errorString()));
        }
        m_content.reset(
            qobject_cast<QQuickItem*>(component.createWithInitialProperties(m_view.properties)));
        m_content->setParentItem(m_window->contentItem());
        fill();
    }

    void fill() {
        if (m_content) {
            m_content->setSize(m_window->size());
        }
    }

    void place(const QRect& frame) {
        const QRect enough(frame.topLeft(), frame.size().expandedTo(m_window->minimumSize()));
        m_frame = reachableFrame(enough, screenAreas());
        m_window->resize(m_frame->size());
        m_window->setFramePosition(m_frame->topLeft());
    }

    void saveFrameLater() {
        if (std::exchange(m_isSavePending, true)) {
            return;
        }
        m_mainQueue->asyncAfter(kSaveInterval, [self = QPointer(this)] {
            if (self) {
                self->m_isSavePending = false;
                self->saveFrame();
            }
        });
    }

    void saveFrame() {
        if (!m_window || !m_window->isVisible() || m_autosaveName.isEmpty() ||
            m_window->windowState() != Qt::WindowNoState) {
            return;
        }
        const QRect frame(m_window->framePosition(), m_window->size());
        if (m_frame != frame) {
            m_frame = frame;
            m_defaults->set(m_autosaveName, frameToString(frame));
        }
    }

    void takeDown() {
        saveFrame();
        m_content.reset();
        m_window.reset();
    }

    std::shared_ptr<QQmlEngine> m_engine;
    std::shared_ptr<MainQueue> m_mainQueue;
    std::shared_ptr<UserDefaults> m_defaults;
    std::unique_ptr<QQuickWindow> m_window;
    View m_view;
    std::unique_ptr<QQuickItem> m_content;
    WindowDelegate* m_delegate = nullptr;
    QString m_autosaveName;
    std::optional<QRect> m_frame; ///< As it was stored last, or is to be.
    bool m_isDrawn = false;
    bool m_isSavePending = false;
};

} // namespace

QtWindows::QtWindows(std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<UserDefaults> defaults)
    : m_mainQueue(std::move(mainQueue)), m_defaults(std::move(defaults)) {
    if (QQuickWindow::sceneGraphBackend() != QStringLiteral("software")) {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    }
}

QtWindows::~QtWindows() = default;

std::shared_ptr<Window> QtWindows::window(const QSize& contentSize) {
    if (!m_engine) {
        m_engine = makeEngine();
    }
    return std::make_shared<QuickWindow>(contentSize, m_engine, m_mainQueue, m_defaults);
}

} // namespace velmorin
