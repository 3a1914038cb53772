// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/SymbolImages.h"

#include <QColor>
#include <QImage>
#include <QSize>

namespace velmorin {

/// Our own drawings of the symbols: SVG resources in one colour, ":/symbols/<name>.svg".
class SvgSymbolImages : public SymbolImages {
public:
    [[nodiscard]] ImageRef imageWithSystemSymbolName(const QString& name,
                                                     const QString& description) override;

    /// Draws all of an image's symbols. `size` and `tint` as below.
    [[nodiscard]] static QImage render(const Image& image, const QSize& size, const QColor& tint);

    /// Draws the symbol in `tint`, `size` in device pixels. Null for an unknown name. Any thread.
    [[nodiscard]] static QImage render(const QString& name, const QSize& size, const QColor& tint);
};

} // namespace velmorin
