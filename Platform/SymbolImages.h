// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>

#include <memory>

namespace velmorin {

/// A system symbol image. A template is drawn in the colour of its surroundings, light or dark.
/// Main thread.
class Image : public QObject {
    Q_OBJECT

public:
    Image(QString symbolName, QString accessibilityDescription)
        : m_symbolName(std::move(symbolName)),
          m_accessibilityDescription(std::move(accessibilityDescription)) {}

    [[nodiscard]] const QString& symbolName() const { return m_symbolName; }
    [[nodiscard]] const QString& accessibilityDescription() const {
        return m_accessibilityDescription;
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
    QString m_symbolName;
    QString m_accessibilityDescription;
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
