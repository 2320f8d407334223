#pragma once

#include "base/ColorScheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

/// Knows the color scheme that the desktop's user prefers, and follows its changes. It asks the settings portal without
/// waiting: one that is missing or stuck delays nobody. See "org.freedesktop.portal.Settings" at freedesktop.org.
class SettingsPortal final : public QObject
{
    Q_OBJECT

public:
    explicit SettingsPortal(QDBusConnection bus, QObject* parent = nullptr);

    /// Unknown until the portal has answered.
    ColorScheme colorScheme() const { return m_colorScheme; }

signals:
    void colorSchemeChanged();

private:
    void ask();
    Q_SLOT void changeSetting(const QDBusMessage& change);
    void setColorScheme(ColorScheme scheme);

    QDBusConnection m_bus;
    ColorScheme m_colorScheme = ColorScheme::Unknown;
};
