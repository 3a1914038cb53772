// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/StatusBar.h"

#include <vector>

namespace velmorin {

/// A status bar whose items the test clicks. With `hasButtons` off it has no clickable items.
class MemoryStatusBar : public StatusBar {
public:
    struct Button : StatusBarButton {
        [[nodiscard]] ImageRef image() const override { return shown; }
        void setImage(const ImageRef& image) override { shown = image; }
        void setAction(std::function<void()> clickAction) override {
            action = std::move(clickAction);
        }

        ImageRef shown;
        std::function<void()> action;
    };

    struct Item : StatusItem {
        [[nodiscard]] StatusBarButton* button() override {
            return hasButton ? &theButton : nullptr;
        }

        double length = 0;
        bool hasButton = true;
        Button theButton;
    };

    [[nodiscard]] std::shared_ptr<StatusItem> statusItem(double length) override {
        auto item = std::make_shared<Item>();
        item->length = length;
        item->hasButton = hasButtons;
        items.push_back(item);
        return item;
    }

    bool hasButtons = true;
    std::vector<std::shared_ptr<Item>> items;
};

/// Has every symbol but those that it is told to lack.
class MemorySymbolImages : public SymbolImages {
public:
    [[nodiscard]] ImageRef imageWithSystemSymbolName(const QString& name,
                                                     const QString& description) override {
        return name == missing ? nullptr : std::make_shared<Image>(name, description);
    }

    QString missing;
};

} // namespace velmorin
