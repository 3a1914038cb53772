// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

namespace velmorin {

/// The plain-text type of a pasteboard (a uniform type identifier).
inline constexpr char NSPasteboardTypeString[] = "public.utf8-plain-text";

/// The general pasteboard: what Copy fills and Paste reads. Main thread. Nothing here waits longer
/// than a bound, also when the application that owns the contents hangs.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    /// The contents as `type`, or none when there are none of that type, or when their owner did
    /// not deliver them in time. Only `NSPasteboardTypeString` is known.
    [[nodiscard]] virtual std::optional<QString> string(const QString& type) = 0;

    /// Takes the pasteboard over and empties it. Returns the new change count.
    virtual qint64 clearContents() = 0;

    /// Puts `text` on the pasteboard as `type`, in place of what was there. The text stays served
    /// until somebody else takes the pasteboard over. False for an unknown type or when the
    /// pasteboard could not be taken over.
    virtual bool setString(const QString& text, const QString& type) = 0;

    /// A number that rises on every change of the owner or of the contents, our own included. It
    /// counts every change that was made before this call.
    [[nodiscard]] virtual qint64 changeCount() = 0;
};

} // namespace velmorin
