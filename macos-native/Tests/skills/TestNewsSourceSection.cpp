#include "skills/SkillsTab.h"
#include "support/Warnings.h"

#include <QAccessible>
#include <QDialog>
#include <QLayout>

#include <optional>

/// The news sources of the one skill that watches them, in the tab that it belongs to.
class TestNewsSourceSection final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_tab.emplace();
    }

    void cleanup() { m_tab.reset(); }

    void onlyTheOneSkillShowsThem()
    {
        QVERIFY(section()->isHidden());
        m_tab->select(0);
        QVERIFY(section()->isHidden());
        QCOMPARE(m_tab->backend.count("list_news_sources"), 0);
        m_tab->select(1);
        QVERIFY(!section()->isHidden());
        QCOMPARE(m_tab->backend.count("list_news_sources"), 1);
        QCOMPARE(m_tab->arguments("list_news_sources").dump(), std::string("[]"));
        QCOMPARE(m_tab->status(), QStringLiteral("Loaded config for sma."));
        m_tab->select(2);
        QVERIFY(section()->isHidden());
    }

    void theSectionFollowsTheEditorAtADistance()
    {
        m_tab->show();
        m_tab->select(1);
        const QWidget* editor = m_tab->env()->parentWidget();
        QTRY_COMPARE(section()->y(), editor->geometry().bottom() + 1 + 12);
    }

    void theSectionNamesItsParts()
    {
        m_tab->show();
        m_tab->select(1);
        QTRY_VERIFY(section()->height() > 0);
        QMap<int, QString> parts; // by their height in the section
        for (const QLabel* label : section()->findChildren<QLabel*>())
            parts[label->y()] += label->text();
        parts[m_tab->find<QComboBox>("sourcePopup")->y()] += QStringLiteral("pop-up");
        for (const QFrame* frame : section()->findChildren<QFrame*>()) {
            if (frame->frameShape() == QFrame::HLine)
                parts[frame->y()] += QStringLiteral("line");
        }
        QCOMPARE(parts.values(),
                 (QStringList{QStringLiteral("Configured Sources"), QStringLiteral("pop-up"), QStringLiteral("line"),
                              QStringLiteral("Source List"), QStringLiteral("1 sources.")}));
    }

    void theSectionIsLaidOutAsGiven()
    {
        m_tab->view().resize(1600, 640); // the buttons in the line of the pop-up
        m_tab->show();
        m_tab->select(1);
        QTRY_VERIFY(section()->height() > 0);
        int left = 0;
        QRect line;
        for (const QWidget* control :
             {m_tab->find<QWidget>("sourcePopup"),
              static_cast<QWidget*>(Controls::button(m_tab->view(), QStringLiteral("Refresh Sources"))),
              static_cast<QWidget*>(Controls::button(m_tab->view(), QStringLiteral("Add Source")))}) {
            QCOMPARE(control->x(), left);
            left = control->geometry().right() + 1 + 8;
            line |= control->geometry();
        }
        QCOMPARE(m_tab->find<QWidget>("sourcePopup")->minimumWidth(), 120);

        QMap<int, QRect> parts{{line.top(), line}}; // by their height in the section
        for (const QFrame* frame : section()->findChildren<QFrame*>(Qt::FindDirectChildrenOnly)) // labels are frames
            parts[frame->y()] |= frame->geometry();
        int top = 0;
        for (const QRect& part : std::as_const(parts)) {
            QCOMPARE(part.topLeft(), QPoint(0, top));
            top = part.bottom() + 1 + 8;
        }
        QCOMPARE(parts.size(), 5);
    }

    void withoutSkillsThereAreNoSources()
    {
        m_tab->backend.raise("list_skills", "OSError", "x");
        m_tab->show();
        QVERIFY(!section()->isVisible());
    }

    void eachLoadOfTheEntryReadsThemAnew()
    {
        m_tab->select(1);
        m_tab->press("Load Config");
        m_tab->press("Refresh Sources");
        QCOMPARE(m_tab->backend.count("list_news_sources"), 3);
        QCOMPARE(m_tab->titles("sourcePopup").size(), 1);
    }

    void aFailedLoadOfTheEntryReadsNone()
    {
        m_tab->view();
        m_tab->backend.raise("get_skill_entry", "OSError", "x");
        const DialogRobot robot({DialogRobot::press(QStringLiteral("OK"))});
        m_tab->select(1);
        QCOMPARE(robot.titles(), QStringList{QStringLiteral("Load Failed")});
        QVERIFY(!section()->isHidden());
        QCOMPARE(m_tab->backend.count("list_news_sources"), 0);
    }

    void listsTheSourcesInTheirOrder()
    {
        m_tab->backend.answer("list_news_sources",
                              {{{"bucket", "b"}, {"name", "新闻\nx"}, {"type", "rss"}, {"id", "1"}, {"enabled", true}},
                               {{"name", "n"}},
                               {{"name", "n"}}});
        m_tab->select(1);
        QCOMPARE(m_tab->titles("sourcePopup"),
                 (QStringList{QStringLiteral("[b] 新闻 x (rss) id=1 enabled=1"), QStringLiteral("[] n () id= enabled="),
                              QStringLiteral("[] n () id= enabled=")}));
        QCOMPARE(m_tab->label("sourceSummaryLabel"), QStringLiteral("3 sources."));
        m_tab->backend.answer("list_news_sources", Json::array({Json::object()}));
        m_tab->press("Refresh Sources");
        QCOMPARE(m_tab->label("sourceSummaryLabel"), QStringLiteral("1 sources."));
    }

    void whatCannotBeListedShowsAsNone_data()
    {
        QTest::addColumn<QByteArray>("steps");
        QTest::newRow("a failure") << QByteArray(R"([{"raise":["OSError","x"]}])");
        QTest::newRow("an empty list") << QByteArray(R"([{"answer":[]}])");
        QTest::newRow("an object") << QByteArray(R"([{"answer":{"sources":[]}}])");
        QTest::newRow("rows that are no objects") << QByteArray(R"([{"answer":[{},"x"]}])");
    }

    void whatCannotBeListedShowsAsNone()
    {
        QFETCH(QByteArray, steps);
        m_tab->backend.script("list_news_sources", Json::parse(steps.toStdString()).get<std::vector<Json>>());
        m_tab->select(1);
        QCOMPARE(m_tab->titles("sourcePopup"), QStringList{QStringLiteral("(no sources)")});
        QCOMPARE(m_tab->label("sourceSummaryLabel"), QStringLiteral("0 sources."));
        QCOMPARE(m_tab->status(), QStringLiteral("Loaded config for sma."));
    }

    void aRefreshOfTheSkillsHidesThem()
    {
        m_tab->select(1);
        QCOMPARE(m_tab->label("sourceSummaryLabel"), QStringLiteral("1 sources."));
        m_tab->press("Refresh");
        QVERIFY(section()->isHidden());
        QCOMPARE(m_tab->label("sourceSummaryLabel"), QString());
    }

    void addsASourceAsDescribed()
    {
        m_tab->select(1);
        const DialogRobot robot({[](QDialog& dialog) {
            const auto popups = dialog.findChildren<QComboBox*>();
            const auto fields = dialog.findChildren<QLineEdit*>();
            Controls::choose(popups[0], QStringLiteral("webpage"));
            fields[0]->setText(QStringLiteral(" id "));
            fields[1]->setText(QStringLiteral("新闻\t"));
            fields[2]->setText(QStringLiteral("\nhttps://a"));
            Controls::choose(popups[1], QStringLiteral("false"));
            DialogRobot::press(QStringLiteral("Add"))(dialog);
        }});
        m_tab->press("Add Source");
        QCOMPARE(robot.titles(), QStringList{QStringLiteral("Add Source")});
        QCOMPARE(robot.shown().front().text, QStringLiteral("Use Type, ID, Name, and URL."));
        QCOMPARE(robot.shown().front().buttons, (QStringList{QStringLiteral("Cancel"), QStringLiteral("Add")}));
        const char* const source = R"([{"type":"webpage","id":"id","name":"新闻","url":"https://a","enabled":false}])";
        QCOMPARE(m_tab->arguments("add_news_source").dump(), std::string(source));
        QCOMPARE(m_tab->backend.count("list_news_sources"), 2);
        QCOMPARE(m_tab->status(), QStringLiteral("Source added."));
    }

    void theFormOffersWhatItCan()
    {
        m_tab->select(1);
        QStringList captions;
        QStringList titles;
        QSize size;
        const DialogRobot robot({[&](QDialog& dialog) {
            QCOMPARE(dialog.focusWidget(), dialog.findChild<QComboBox*>());
            for (const QLabel* label : dialog.findChildren<QLabel*>()) {
                if (!label->buddy())
                    continue;
                captions.append(label->text());
                QCOMPARE(label->width(), 72);
                QVERIFY(label->buddy()->width() >= 220);
                QCOMPARE(label->buddy()->x(), label->geometry().right() + 1 + 8);
                const QWidget* form = label->buddy()->parentWidget();
                size = form->size();
                QCOMPARE(form->layout()->contentsMargins(), QMargins(0, 4, 0, 4));
                QCOMPARE(form->layout()->spacing(), 8);
            }
            for (const QComboBox* popup : dialog.findChildren<QComboBox*>()) {
                for (int i = 0; i < popup->count(); ++i)
                    titles.append(popup->itemText(i));
            }
            dialog.reject();
        }});
        m_tab->press("Add Source");
        QCOMPARE(captions.join(u' '), QStringLiteral("Type ID Name URL Enabled"));
        QCOMPARE(titles.join(u' '), QStringLiteral("rss webpage x true false"));
        QCOMPARE(size, QSize(420, 188));
    }

    void aSourceWithoutAnythingIsSentToo()
    {
        m_tab->select(1);
        const DialogRobot robot({DialogRobot::press(QStringLiteral("Add"))});
        m_tab->press("Add Source");
        const char* const source = R"([{"type":"rss","id":"","name":"","url":"","enabled":true}])";
        QCOMPARE(m_tab->arguments("add_news_source").dump(), std::string(source));
    }

    void cancellingAddsNothing()
    {
        m_tab->select(1);
        const DialogRobot robot({DialogRobot::press(QStringLiteral("Cancel")), DialogRobot::press(Qt::Key_Escape)});
        m_tab->press("Add Source");
        m_tab->press("Add Source");
        QCOMPARE(robot.shown().size(), std::size_t(2));
        QCOMPARE(m_tab->backend.count("add_news_source"), 0);
        QCOMPARE(m_tab->status(), QStringLiteral("Loaded config for sma."));
    }

    void aSourceThatIsRefusedIsToldAndNotListed()
    {
        m_tab->select(1);
        m_tab->backend.raise("add_news_source", "ValueError", "the URL <b>is</b> empty");
        const DialogRobot robot({DialogRobot::press(QStringLiteral("Add")), DialogRobot::press(QStringLiteral("OK"))});
        m_tab->press("Add Source");
        QCOMPARE(robot.titles(), (QStringList{QStringLiteral("Add Source"), QStringLiteral("Add Source Failed")}));
        QVERIFY(robot.shown().back().text.startsWith(QStringLiteral("ERROR: ")));
        QVERIFY(robot.shown().back().text.contains(QStringLiteral("the URL <b>is</b> empty")));
        QCOMPARE(m_tab->backend.count("list_news_sources"), 1);
        QCOMPARE(m_tab->status(), QStringLiteral("Loaded config for sma."));
    }

    void nothingIsAddedForAnotherSkill()
    {
        m_tab->select(0);
        const DialogRobot robot;
        m_tab->press("Add Source"); // which nobody sees
        QVERIFY(robot.shown().empty());
        QCOMPARE(m_tab->backend.count("add_news_source"), 0);
    }

    void aViewThatGoesAwayWhileAskingAddsNothing()
    {
        m_tab->select(1);
        const DialogRobot robot({[this](QDialog& dialog) {
            m_tab->discardView();
            DialogRobot::press(QStringLiteral("Add"))(dialog);
        }});
        QMetaObject::invokeMethod(
            Controls::button(m_tab->view(), QStringLiteral("Add Source")),
            [button = Controls::button(m_tab->view(), QStringLiteral("Add Source"))] { button->click(); },
            Qt::QueuedConnection);
        QTRY_COMPARE(robot.shown().size(), std::size_t(1));
        QCOMPARE(m_tab->backend.count("add_news_source"), 0);
    }

private:
    QWidget* section() { return m_tab->find<QWidget>("sourceSection"); }

    std::optional<SkillsTab> m_tab;
};

QTEST_MAIN(TestNewsSourceSection)
#include "TestNewsSourceSection.moc"
