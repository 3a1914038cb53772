// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Windows.h"

#include <QStringList>

#include <vector>

namespace velmorin {

/// Windows that nobody sees. What was asked of one stands in its journal, in order.
class MemoryWindows : public Windows {
public:
    struct Shown : Window {
        void setTitle(const QString& newTitle) override {
            title = newTitle;
            journal << QStringLiteral("title");
        }
        void setContentView(const View& newView) override {
            view = newView;
            journal << QStringLiteral("content");
        }
        void setMinSize(const QSize& size) override {
            minSize = size;
            journal << QStringLiteral("minimum");
        }
        void center() override { journal << QStringLiteral("center"); }
        void setFrameAutosaveName(const QString& name) override {
            autosaveName = name;
            journal << QStringLiteral("autosave");
        }
        void setDelegate(WindowDelegate* newDelegate) override {
            delegate = newDelegate;
            journal << QStringLiteral("delegate");
        }
        void makeKeyAndOrderFront() override {
            isVisible = true;
            journal << QStringLiteral("front");
        }

        void close() {
            delegate->windowWillClose();
            isVisible = false;
        }

        QSize contentSize;
        QString title;
        View view;
        QSize minSize;
        QString autosaveName;
        WindowDelegate* delegate = nullptr;
        bool isVisible = false;
        QStringList journal;
    };

    [[nodiscard]] std::shared_ptr<Window> window(const QSize& contentSize) override {
        made.push_back(std::make_shared<Shown>());
        made.back()->contentSize = contentSize;
        return made.back();
    }

    std::vector<std::shared_ptr<Shown>> made;
};

} // namespace velmorin
