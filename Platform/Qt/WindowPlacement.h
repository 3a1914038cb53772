// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QRect>
#include <QString>

#include <optional>

namespace velmorin {

/// The frame as it is stored: "x y width height" of the window's outer top left corner and its
/// contents' size, in device-independent pixels.
[[nodiscard]] QString frameToString(const QRect& frame);

/// None when `text` is no such frame.
[[nodiscard]] std::optional<QRect> frameFromString(const QString& text);

/// The frame of a window with contents of `size` in the middle of a screen, made smaller if need
/// be. `screen` is the area free for windows.
[[nodiscard]] QRect centeredFrame(const QSize& size, const QRect& screen);

/// The frame, moved (and made smaller, if need be) onto the nearest of the screens when its user
/// could not get hold of its title bar where it is. `screens` are the areas free for windows.
[[nodiscard]] QRect reachableFrame(const QRect& frame, const QList<QRect>& screens);

} // namespace velmorin
