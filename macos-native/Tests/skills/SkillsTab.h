#pragma once

#include "skills/SkillsViewController.h"
#include "support/DialogRobot.h"
#include "support/TabFixture.h"
#include "ui/JsonTable.h"
#include "ui/ScrollingLabel.h"

#include <QPlainTextEdit>

/// A Skills tab on a scripted backend with three skills and two agents of "openclaw", two cloud skills and two agents
/// of Core, and what a person sees and does there.
class SkillsTab final : public TabFixture<SkillsViewController>
{
public:
    SkillsTab()
    {
        backend.answer("list_local_agents", {{{"id", "main"}, {"name", "Main"}, {"ecosystem", "openclaw"}},
                                             {{"id", "c"}, {"name", "Coder"}, {"ecosystem", "codex"}},
                                             {{"id", "second"}, {"ecosystem", "openclaw"}}});
        listed({weather(),
                {{"name", "social-media-alert"}, {"skillKey", "sma"}, {"source", "workspace"}},
                {{"name", "plain"}, {"skillKey", "plain"}}});
        backend.answer("get_adapter_snapshot",
                       {{"configPath", "/home/me/.openclaw/openclaw.json"}, {"skillDirs", {"/a", "/b"}}});
        entered({{"enabled", true}, {"apiKey", "k"}, {"env", {{"REGION", "欧洲"}}}, {"config", {{"z", 1.0}}}});
        backend.answer("save_skill_entry", Json::object());
        backend.answer("list_news_sources", {{{"bucket", "rss"}, {"name", "News"}, {"type", "rss"}, {"id", "n1"}}});
        backend.answer("add_news_source", Json::object());
        backend.answer("install_openclaw_skill_zip", {{"targetDir", "/w/skills/a"}});
        backend.answer("list_cloud_skills_via_core",
                       {{{"key", "first"}, {"name", "First 一"}, {"version", "1.2"}, {"description", "Does.\nMore"}},
                        {{"key", "second"}}});
        backend.answer(
            "list_core_agents",
            {{{"ecosystem", "codex"}, {"id", "0"}},
             {{"ecosystem", "openclaw"}, {"agentId", "main"}, {"id", "1"}, {"state", "online"}, {"workspace", "/w"}},
             {{"ecosystem", "openclaw"}, {"id", "2"}, {"status", "idle"}, {"workspace", "/v"}}});
        backend.answer("install_cloud_skill_from_core",
                       {{"targetDir", "/w/skills/first"}, {"restartMethod", "cli"}, {"restartSucceeded", true}});
    }

    static Json weather()
    {
        return {{"name", "weather"},         {"skillKey", "weather"}, {"description", "Tells it."},
                {"path", "/skills/weather"}, {"primaryEnv", "TOKEN"}, {"requiredEnv", {"TOKEN", "REGION"}}};
    }

    /// Sets the skills of every ecosystem.
    void listed(const Json& skills) { backend.answer("list_skills", skills); }
    /// Sets the entry of every skill.
    void entered(const Json& entry) { backend.answer("get_skill_entry", entry); }

    /// Returns the place of `widget` in the view.
    QRect frame(const QWidget* widget) { return {widget->mapTo(&view(), QPoint()), widget->size()}; }
    QString meta() { return find<ScrollingLabel>("metaLabel")->text(); }
    QStringList titles(const char* popup) { return Controls::titles(*find<QComboBox>(popup)); }
    QStringList rows()
    {
        QStringList rows;
        const QAbstractItemModel* model = table()->model();
        for (int row = 0; row < model->rowCount(); ++row)
            rows.append(model->index(row, 0).data().toString());
        return rows;
    }
    /// Returns the text of every control except the list of skills: "name=text shown" or "name=text hidden".
    QStringList everything()
    {
        QStringList shown;
        for (const QWidget* widget : view().findChildren<QWidget*>()) {
            const auto* popup = qobject_cast<const QComboBox*>(widget);
            const auto* text = qobject_cast<const QPlainTextEdit*>(widget);
            const QString value = popup  ? popup->currentText()
                                  : text ? text->toPlainText()
                                         : widget->property("text").toString();
            const QString visibility = QString::fromLatin1(widget->isHidden() ? "hidden" : "shown");
            const QString placeholder = widget->property("placeholderText").toString();
            const QString name = widget->objectName().isEmpty() ? placeholder : widget->objectName();
            if (!name.isEmpty() && !name.startsWith(QStringLiteral("qt_")))
                shown.append(name + u'=' + value + u' ' + visibility);
        }
        return shown;
    }

    /// Returns the part of it that is about the credential.
    QString credential() { return everything().filter(QStringLiteral("apiKey")).join(u'|'); }

    JsonTable* table() { return find<JsonTable>("tableView"); }
    QPlainTextEdit* env() { return find<QPlainTextEdit>("envTextView"); }
    QLineEdit* apiKey() { return find<QLineEdit>("apiKeyField"); }
    /// Returns the fields of the variables in their order.
    QList<QLineEdit*> fields() { return find<QWidget>("dynamicFieldsStack")->findChildren<QLineEdit*>(); }
    QLineEdit* field(const char* name)
    {
        for (QLineEdit* candidate : fields()) {
            if (candidate->placeholderText() == QString::fromUtf8(name))
                return candidate;
        }
        return nullptr;
    }

    void select(int row)
    {
        const QRect cell = table()->visualRect(table()->model()->index(row, 0));
        QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, cell.center());
    }

    /// Chooses the file at `path` in the panel and presses its button.
    static DialogRobot::Answer chooseFile(const QString& path)
    {
        return [path](QDialog& dialog) {
            auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            QVERIFY(name);
            name->setText(path);
            QTest::keyClick(name, Qt::Key_Return);
        };
    }
    /// Chooses the item at `index` in the dialog's pop-up and presses `button`.
    static DialogRobot::Answer chooseItem(int index, const QString& button)
    {
        return [index, button](QDialog& dialog) {
            dialog.findChild<QComboBox*>()->setCurrentIndex(index);
            DialogRobot::press(button)(dialog);
        };
    }
    /// Returns the path of a new file with the name `name` in the home folder.
    QString package(const QString& name) const
    {
        const QString path = backend.home().path(name);
        QFile(path).open(QFile::WriteOnly);
        return path;
    }

    /// Presses a button that opens an alert, closes the alert, and returns its title and text.
    QString alertAfter(const char* button)
    {
        view();
        return DialogRobot::alertOf([this, button] { press(button); });
    }

    /// Returns the functions that were called so far.
    std::vector<std::string> functions() const
    {
        std::vector<std::string> functions;
        for (const ScriptedBackend::Call& call : backend.calls())
            functions.push_back(call.function);
        return functions;
    }
};
