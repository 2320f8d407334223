#pragma once

#include "platform/Platform.h"

#include <QStringList>

/// A platform that shows nothing and records the calls. A test decides whether it has a status area.
class FakePlatform final : public Platform
{
public:
    explicit FakePlatform(bool hasStatusArea = true, std::chrono::milliseconds sessionAge = std::chrono::hours(1))
        : m_hasStatusArea(hasStatusArea), m_sessionAge(sessionAge)
    {}

    const QStringList& calls() const { return m_calls; }
    const QIcon& icon() const { return m_icon; }
    QMenu* menu() const { return m_menu; }

    void setHasStatusArea(bool hasStatusArea)
    {
        m_hasStatusArea = hasStatusArea;
        emit statusAreaChanged();
    }

    void setColorScheme(ColorScheme scheme)
    {
        m_colorScheme = scheme;
        emit colorSchemeChanged();
    }

    void setActivationPolicy(ActivationPolicy policy) override
    {
        m_calls.append(policy == ActivationPolicy::Regular ? QStringLiteral("regular") : QStringLiteral("accessory"));
    }

    void activateApplication() override { m_calls.append(QStringLiteral("activate")); }
    void setActivationToken(const QByteArray& token) override { m_calls.append(QString::fromUtf8(token)); }
    QIcon sparklesSymbol() const override { return QIcon(QPixmap(22, 22)); }

    void showStatusItem(const QString& name, const QIcon& icon, QMenu* menu) override
    {
        m_calls.append(name);
        m_icon = icon;
        m_menu = menu;
    }

    bool hasStatusArea() const override { return m_hasStatusArea; }
    std::optional<std::chrono::milliseconds> sessionAge() const override { return m_sessionAge; }
    ColorScheme colorScheme() const override { return m_colorScheme; }

private:
    QStringList m_calls;
    QIcon m_icon;
    QMenu* m_menu = nullptr;
    bool m_hasStatusArea;
    std::chrono::milliseconds m_sessionAge;
    ColorScheme m_colorScheme = ColorScheme::Unknown;
};
