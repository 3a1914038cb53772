// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/SymbolImages.h"

#include <functional>
#include <memory>

namespace velmorin {

/// The clickable icon of a status item.
class StatusBarButton {
public:
    virtual ~StatusBarButton() = default;

    /// Null when the button shows no image.
    [[nodiscard]] virtual ImageRef image() const = 0;
    virtual void setImage(const ImageRef& image) = 0;

    /// What a click does.
    virtual void setAction(std::function<void()> action) = 0;
};

/// An item of the status bar; destroying it removes it.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    /// Null where the status bar has no clickable items.
    [[nodiscard]] virtual StatusBarButton* button() = 0;
};

/// The length of an item that is as wide as its contents.
inline constexpr double NSVariableStatusItemLength = -1;

/// The desktop's status bar or tray. Main thread. An item may be made before there is a tray; it
/// appears as soon as there is one.
class StatusBar {
public:
    virtual ~StatusBar() = default;

    /// A new item, never null.
    [[nodiscard]] virtual std::shared_ptr<StatusItem> statusItem(double length) = 0;
};

} // namespace velmorin
