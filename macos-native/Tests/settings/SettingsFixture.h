#pragma once

#include "settings/SettingsViewController.h"
#include "support/TabFixture.h"

#include <QCheckBox>
#include <QSettings>

/// A settings view on a scripted backend and a home of its own, and what a person sees and does there.
class SettingsFixture final : public TabFixture<SettingsViewController>
{
public:
    SettingsFixture()
    {
        QCoreApplication::setOrganizationName(QStringLiteral("Nelo"));
        QCoreApplication::setApplicationName(QStringLiteral("SettingsFixture"));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           backend.home().path(QStringLiteral(".config")));
        saved(Json::object());
        backend.answer("save_nelo_settings", {{"path", "/home/me/.nelo/settings.json"}});
        backend.answer("refresh_cloud_skills_via_core", {{"count", 3}});
    }

    /// From now on `document` is what the backend keeps.
    void saved(const Json& document) { backend.answer("load_nelo_settings", document); }

    /// Returns what the form shows, from top to bottom.
    QString shown()
    {
        return QStringList{isOn("coreAutoDiscoveryButton"), text("coreURLField"),
                           title("chatModePopup"),          title("localModelPopup"),
                           title("cloudProviderPopup"),     text("cloudModelField"),
                           text("cloudAPIKeyField"),        text("cloudSkillsCatalogURLField"),
                           isOn("autoTovaniButton"),        text("tovaniPathField")}
            .join(u'|');
    }
    void type(const char* field, const QString& text)
    {
        find<QLineEdit>(field)->clear();
        find<QLineEdit>(field)->insert(text); // as pasting does: also what no key can type
    }
    QString isOn(const char* checkBox)
    {
        return find<QCheckBox>(checkBox)->isChecked() ? QStringLiteral("on") : QStringLiteral("off");
    }
    /// The document of the last save; null when there was none.
    Json sentDocument() const
    {
        const Json sent = arguments("save_nelo_settings");
        return sent.is_null() ? sent : sent.at(0);
    }
};
