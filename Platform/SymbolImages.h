// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QRectF>
#include <QString>

#include <memory>

namespace velmorin {

/// A picture: a system symbol, or a canvas with symbols on it. A template is drawn in the colour of
/// its surroundings, light or dark. Main thread.
class Image : public QObject {
    Q_OBJECT

public:
    /// A symbol that fills its picture.
    Image(QString symbolName, QString accessibilityDescription)
        : m_accessibilityDescription(std::move(accessibilityDescription)),
          m_drawings{{std::move(symbolName), QRectF(0, 0, 1, 1)}} {}

    /// A blank canvas of `size` points.
    explicit Image(const QSizeF& size) : m_size(size) {}

    /// One symbol in its place. What lies outside the canvas is cut off.
    struct Drawing {
        QString symbolName;
        QRectF place;

        bool operator==(const Drawing&) const = default;
    };

    /// In points; a symbol alone is as large as whoever shows it makes it, and its size is 1 by 1.
    [[nodiscard]] const QSizeF& size() const { return m_size; }
    [[nodiscard]] const QList<Drawing>& drawings() const { return m_drawings; }
    /// Of an image that is one symbol.
    [[nodiscard]] QString symbolName() const {
        return m_drawings.isEmpty() ? QString() : m_drawings.constFirst().symbolName;
    }
    [[nodiscard]] const QString& accessibilityDescription() const {
        return m_accessibilityDescription;
    }

    /// Draws another image into a place of this one.
    void draw(const Image& image, const QRectF& place) {
        for (const Drawing& drawing : image.m_drawings) {
            const QRectF& part = drawing.place;
            const double x = place.width() / image.m_size.width();
            const double y = place.height() / image.m_size.height();
            m_drawings.append(
                {drawing.symbolName, QRectF(place.x() + part.x() * x, place.y() + part.y() * y,
                                            part.width() * x, part.height() * y)});
        }
        Q_EMIT changed();
    }

    [[nodiscard]] bool isTemplate() const { return m_isTemplate; }
    void setTemplate(bool isTemplate) {
        m_isTemplate = isTemplate;
        Q_EMIT changed();
    }

Q_SIGNALS:
    /// Whoever shows the image draws it again.
    void changed();

private:
    QString m_accessibilityDescription;
    QSizeF m_size{1, 1};
    QList<Drawing> m_drawings;
    bool m_isTemplate = false;
};
using ImageRef = std::shared_ptr<Image>;

/// The symbols that the system draws. Main thread.
class SymbolImages {
public:
    virtual ~SymbolImages() = default;

    /// A new image of the symbol, null when there is no symbol of that name.
    [[nodiscard]] virtual ImageRef imageWithSystemSymbolName(const QString& name,
                                                             const QString& description) = 0;
};

} // namespace velmorin
