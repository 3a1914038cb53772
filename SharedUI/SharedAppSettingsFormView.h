// SPDX-License-Identifier: MIT
#pragma once

#include "SharedCore/AppPreferences.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace velmorin {

/// The settings form's working copy of the general preferences: loaded when it is made, saved whole
/// at once whenever a property is assigned. Only records the choices. Main thread.
class SharedAppSettingsFormView : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(SettingsFormModel)
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY prefsChanged)
    Q_PROPERTY(
        bool showMenuBarIcon READ showMenuBarIcon WRITE setShowMenuBarIcon NOTIFY prefsChanged)
    /// A raw value of the theme: "light", "dark" or "system". Others are not taken.
    Q_PROPERTY(QString theme READ theme WRITE setTheme NOTIFY prefsChanged)
    Q_PROPERTY(bool reduceMotion READ reduceMotion WRITE setReduceMotion NOTIFY prefsChanged)
    Q_PROPERTY(bool reduceTransparency READ reduceTransparency WRITE setReduceTransparency NOTIFY
                   prefsChanged)

public:
    explicit SharedAppSettingsFormView(QObject* parent = nullptr)
        : SharedAppSettingsFormView(StorageManager::shared(), parent) {}
    /// `storage` must outlive the form.
    explicit SharedAppSettingsFormView(StorageManager& storage, QObject* parent = nullptr)
        : QObject(parent), m_storage(storage), m_prefs(AppPreferences::load(storage)) {}

    [[nodiscard]] bool launchAtLogin() const { return m_prefs.launchAtLogin; }
    void setLaunchAtLogin(bool on) { assign(&AppPreferences::launchAtLogin, on); }

    [[nodiscard]] bool showMenuBarIcon() const { return m_prefs.showMenuBarIcon; }
    void setShowMenuBarIcon(bool on) { assign(&AppPreferences::showMenuBarIcon, on); }

    [[nodiscard]] QString theme() const { return rawValue(m_prefs.theme); }
    void setTheme(const QString& raw) {
        if (const std::optional<AppPreferences::Theme> theme = themeFromRawValue(raw)) {
            assign(&AppPreferences::theme, *theme);
        }
    }

    [[nodiscard]] bool reduceMotion() const { return m_prefs.reduceMotion; }
    void setReduceMotion(bool on) { assign(&AppPreferences::reduceMotion, on); }

    [[nodiscard]] bool reduceTransparency() const { return m_prefs.reduceTransparency; }
    void setReduceTransparency(bool on) { assign(&AppPreferences::reduceTransparency, on); }

Q_SIGNALS:
    void prefsChanged();

private:
    template <typename T>
    void assign(T AppPreferences::*member, T value) {
        m_prefs.*member = value;
        m_prefs.save(m_storage);
        Q_EMIT prefsChanged();
    }

    StorageManager& m_storage;
    AppPreferences m_prefs;
};

} // namespace velmorin
