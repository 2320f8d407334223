#pragma once

#include "skills/SkillsViewController.h"
#include "support/DialogRobot.h"
#include "support/TabFixture.h"
#include "ui/JsonTable.h"
#include "ui/ScrollingLabel.h"

#include <QPlainTextEdit>

/// A Skills tab on a scripted backend with three skills and two agents of "openclaw", and what a person sees and does
/// there.
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
    }

    static Json weather()
    {
        return {{"name", "weather"},         {"skillKey", "weather"}, {"description", "Tells it."},
                {"path", "/skills/weather"}, {"primaryEnv", "TOKEN"}, {"requiredEnv", {"TOKEN", "REGION"}}};
    }

    /// From now on these are the skills of every ecosystem.
    void listed(const Json& skills) { backend.answer("list_skills", skills); }
    /// From now on this is the entry of every skill.
    void entered(const Json& entry) { backend.answer("get_skill_entry", entry); }

    /// Where `widget` is in the view.
    QRect frame(const QWidget* widget) { return {widget->mapTo(&view(), QPoint()), widget->size()}; }
    /// The label beside or above the control so named.
    QLabel* caption(const char* objectName)
    {
        for (QLabel* label : view().findChildren<QLabel*>()) {
            if (label->buddy() == find<QWidget>(objectName))
                return label;
        }
        return nullptr;
    }

    QString meta() { return find<ScrollingLabel>("metaLabel")->text(); }
    QStringList titles(const char* popup)
    {
        QStringList titles;
        const auto* button = find<QComboBox>(popup);
        for (int i = 0; i < button->count(); ++i)
            titles.append(button->itemText(i));
        return titles;
    }
    QStringList rows()
    {
        QStringList rows;
        const QAbstractItemModel* model = table()->model();
        for (int row = 0; row < model->rowCount(); ++row)
            rows.append(model->index(row, 0).data().toString());
        return rows;
    }
    /// What every control shows or hides, by its name; the rows of the list apart.
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

    JsonTable* table() { return find<JsonTable>("tableView"); }
    QPlainTextEdit* env() { return find<QPlainTextEdit>("envTextView"); }
    QLineEdit* apiKey() { return find<QLineEdit>("apiKeyField"); }
    /// The fields of the variables, by their names, in their order.
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

    /// Presses a button that brings an alert, closes that, and returns what it said.
    QString alertAfter(const char* button)
    {
        view();
        return DialogRobot::alertOf([this, button] { press(button); });
    }

    /// The functions called so far.
    std::vector<std::string> functions() const
    {
        std::vector<std::string> functions;
        for (const ScriptedBackend::Call& call : backend.calls())
            functions.push_back(call.function);
        return functions;
    }
};
