#pragma once

#include "settings/SettingsViewController.h"
#include "support/Controls.h"
#include "support/ScriptedBackend.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QSettings>

#include <memory>

/// A settings view on a scripted backend and a home of its own, and what a person sees and does there.
class SettingsFixture final
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

    SettingsViewController& view()
    {
        if (!m_view)
            m_view = std::make_unique<SettingsViewController>();
        m_view->loadViewIfNeeded();
        return *m_view;
    }
    /// Starts over with a view that has loaded nothing yet.
    void discardView() { m_view.reset(); }

    template <typename Control> Control* find(const char* objectName)
    {
        return view().findChild<Control*>(QString::fromLatin1(objectName));
    }

    QString text(const char* field) { return find<QLineEdit>(field)->text(); }
    QString title(const char* popup) { return find<QComboBox>(popup)->currentText(); }
    bool isOn(const char* checkBox) { return find<QCheckBox>(checkBox)->isChecked(); }
    QString status() { return find<QLabel>("statusLabel")->text(); }

    void type(const char* field, const QString& text)
    {
        find<QLineEdit>(field)->clear();
        find<QLineEdit>(field)->insert(text); // as pasting does: also what no key can type
    }
    void choose(const char* popup, const char* title)
    {
        Controls::choose(find<QComboBox>(popup), QString::fromLatin1(title));
    }

    void press(const char* title) { Controls::press(view(), QString::fromLatin1(title)); }

    /// The document of the last save; null when there was none.
    Json sentDocument() const
    {
        Json document;
        for (const ScriptedBackend::Call& call : backend.calls())
            if (call.function == "save_nelo_settings")
                document = call.args.at(0);
        return document;
    }

    ScriptedBackend backend;

private:
    std::unique_ptr<SettingsViewController> m_view;
};
