#include "platform/SettingsPortal.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <utility>

namespace {

QString portalService()
{
    return QStringLiteral("org.freedesktop.portal.Desktop");
}

QString portalPath()
{
    return QStringLiteral("/org/freedesktop/portal/desktop");
}

QString settingsInterface()
{
    return QStringLiteral("org.freedesktop.portal.Settings");
}

/// The group and the key of the setting.
QStringList colorSchemeSetting()
{
    return {QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme")};
}

ColorScheme schemeOf(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) // "Read" wraps the value twice
        value = value.value<QDBusVariant>().variant();
    const bool isNumber = value.metaType() == QMetaType::fromType<uint>(); // a text could be converted to one
    if (isNumber && value.toUInt() == 1)
        return ColorScheme::Dark;
    return isNumber && value.toUInt() == 2 ? ColorScheme::Light : ColorScheme::Unknown;
}

} // namespace

SettingsPortal::SettingsPortal(QDBusConnection bus, QObject* parent) : QObject(parent), m_bus(std::move(bus))
{
    if (!m_bus.isConnected())
        return;
    const auto* owners =
        new QDBusServiceWatcher(portalService(), m_bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(owners, &QDBusServiceWatcher::serviceRegistered, this, &SettingsPortal::ask);
    // Only changes of this setting wake the program. The sender is not named, because naming it would wait for the bus.
    m_bus.connect({}, portalPath(), settingsInterface(), QStringLiteral("SettingChanged"), colorSchemeSetting(), {},
                  this, SLOT(changeSetting(QDBusMessage)));
    ask();
}

void SettingsPortal::ask()
{
    // Not "ReadOne", which portals of before 2023 do not have.
    QDBusMessage question =
        QDBusMessage::createMethodCall(portalService(), portalPath(), settingsInterface(), QStringLiteral("Read"));
    for (const QString& argument : colorSchemeSetting())
        question << argument;
    auto* call = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> answer = *call;
        setColorScheme(answer.isValid() ? schemeOf(answer.value().variant()) : ColorScheme::Unknown);
    });
}

void SettingsPortal::changeSetting(const QDBusMessage& change)
{
    setColorScheme(schemeOf(change.arguments().value(2)));
}

void SettingsPortal::setColorScheme(ColorScheme scheme)
{
    if (m_colorScheme == scheme)
        return;
    m_colorScheme = scheme;
    emit colorSchemeChanged();
}
