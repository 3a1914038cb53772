// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaType>
#include <QString>
#include <QVariant>

#include <memory>

namespace velmorin {

/// Result of an accessibility call; the numbers are those of the platform that named them.
enum class AXError : qint32 {
    success = 0,
    failure = -25200,
    illegalArgument = -25201,
    invalidUIElement = -25202,
    cannotComplete = -25204, ///< The application did not answer in time, or is gone.
    attributeUnsupported = -25205,
    notImplemented = -25208,
    apiDisabled = -25211, ///< There is no accessibility bus, or it is switched off.
    noValue = -25212,
};

inline constexpr char kAXFocusedUIElementAttribute[] = "AXFocusedUIElement";
inline constexpr char kAXSelectedTextAttribute[] = "AXSelectedText";
inline constexpr char kAXValueAttribute[] = "AXValue";
inline constexpr char kAXTrustedCheckOptionPrompt[] = "AXTrustedCheckOptionPrompt";

/// An element of some application's user interface; what is inside is the back end's affair.
class AXUIElement {
public:
    virtual ~AXUIElement() = default;
};
using AXUIElementRef = std::shared_ptr<AXUIElement>;

/// Reads and writes the user interfaces of other applications. Main thread. Each call answers
/// within a bound, also when the other application hangs: it is then `AXError::cannotComplete`.
class Accessibility {
public:
    virtual ~Accessibility() = default;

    /// Whether this process may use accessibility: its bus answers and is enabled.
    [[nodiscard]] virtual bool isProcessTrusted() = 0;

    /// The same; with `kAXTrustedCheckOptionPrompt` true in `options`, and not trusted, it also
    /// offers the user to change that. Does not wait for the user.
    virtual bool isProcessTrustedWithOptions(const QVariantMap& options) = 0;

    /// The element that stands for the whole session.
    [[nodiscard]] virtual AXUIElementRef createSystemWide() = 0;

    /// Copies the attribute's value into `value`, which is only changed on success:
    /// - `AXFocusedUIElement` of the system-wide element: an AXUIElementRef (never null), the
    ///   element with the keyboard focus in the active window;
    /// - `AXSelectedText`: a QString, empty when nothing is selected;
    /// - `AXValue`: a QString for text, other types for other controls.
    [[nodiscard]] virtual AXError copyAttributeValue(const AXUIElementRef& element,
                                                     const QString& attribute, QVariant& value) = 0;

    /// Sets `AXSelectedText` (replaces the selection) or `AXValue` (replaces everything). Success
    /// means that the text was seen in the element afterwards; a write that the application
    /// accepted but did not carry out is an error. Writes only into the active window.
    [[nodiscard]] virtual AXError setAttributeValue(const AXUIElementRef& element,
                                                    const QString& attribute,
                                                    const QVariant& value) = 0;

    /// Whether the application of the active window was sent a write that it has not answered: it
    /// may yet carry it out.
    [[nodiscard]] virtual bool isWritePending() = 0;
};

} // namespace velmorin

Q_DECLARE_METATYPE(velmorin::AXUIElementRef)
