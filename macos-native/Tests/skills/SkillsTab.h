#pragma once

#include "skills/SkillsViewController.h"
#include "support/Controls.h"
#include "support/DialogRobot.h"
#include "support/ScriptedBackend.h"
#include "ui/JsonTable.h"
#include "ui/ScrollingLabel.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>

#include <memory>

/// A Skills tab on a scripted backend with three skills and two agents of "openclaw", and what a person sees and does
/// there.
class SkillsTab final
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

    SkillsViewController& view()
    {
        if (!m_view) {
            m_view = std::make_unique<SkillsViewController>();
            m_view->resize(1000, 640);
        }
        m_view->loadViewIfNeeded();
        return *m_view;
    }
    /// Has the view on the screen and active.
    void show()
    {
        view().show();
        view().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&view()));
    }
    void discardView() { m_view.reset(); }

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

    template <typename Control> Control* find(const char* objectName)
    {
        return view().findChild<Control*>(QString::fromLatin1(objectName));
    }

    QString status() { return find<QLabel>("statusLabel")->text(); }
    QString label(const char* objectName) { return find<QLabel>(objectName)->text(); }
    QString meta() { return find<ScrollingLabel>("metaLabel")->text(); }
    QString title(const char* popup) { return find<QComboBox>(popup)->currentText(); }
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

    void choose(const char* popup, const char* title)
    {
        Controls::choose(find<QComboBox>(popup), QString::fromLatin1(title));
    }
    void press(const char* title) { Controls::press(view(), QString::fromLatin1(title)); }
    void select(int row)
    {
        const QRect cell = table()->visualRect(table()->model()->index(row, 0));
        QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, cell.center());
    }

    /// The arguments of the last call of `function`; null when there was none.
    Json arguments(const std::string& function) const
    {
        Json arguments;
        for (const ScriptedBackend::Call& call : backend.calls()) {
            if (call.function == function)
                arguments = call.args;
        }
        return arguments;
    }
    /// The functions called so far.
    std::vector<std::string> functions() const
    {
        std::vector<std::string> functions;
        for (const ScriptedBackend::Call& call : backend.calls())
            functions.push_back(call.function);
        return functions;
    }

    ScriptedBackend backend;

private:
    std::unique_ptr<SkillsViewController> m_view;
};
