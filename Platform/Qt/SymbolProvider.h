// SPDX-License-Identifier: MIT
#pragma once

#include <QQmlEngine>

namespace velmorin {

/// Lets QML of the engine show symbols: "image://symbol/<name>/<aarrggbb>".
void addSymbolProvider(QQmlEngine& engine);

} // namespace velmorin
