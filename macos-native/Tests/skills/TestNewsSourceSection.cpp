#include "skills/SkillsTab.h"
#include "support/CaseTable.h"
#include "support/UnreadReplies.h"
#include "support/Warnings.h"

#include <QDialog>
#include <QLayout>

#include <optional>

using namespace Qt::StringLiterals;

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
        QCOMPARE(m_tab->status(), u"Loaded config for sma."_s);
        m_tab->select(2);
        QVERIFY(section()->isHidden());
    }

    void theSectionNamesItsParts()
    {
        m_tab->show();
        m_tab->select(1);
        QTRY_VERIFY(section()->height() > 0);
        QMap<int, QString> parts; // by their height in the section
        for (const QLabel* label : section()->findChildren<QLabel*>())
            parts[label->y()] += label->text();
        parts[m_tab->find<QComboBox>("sourcePopup")->y()] += u"pop-up"_s;
        for (const QFrame* frame : section()->findChildren<QFrame*>()) {
            if (frame->frameShape() == QFrame::HLine)
                parts[frame->y()] += u"line"_s;
        }
        QCOMPARE(parts.values(),
                 (QStringList{u"Configured Sources"_s, u"pop-up"_s, u"line"_s, u"Source List"_s, u"1 sources."_s}));
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
        QVERIFY(DialogRobot::alertOf([this] { m_tab->select(1); }).startsWith(u"Load Failed"_s));
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
        QCOMPARE(m_tab->titles("sourcePopup"), (QStringList{u"[b] 新闻 x (rss) id=1 enabled=1"_s,
                                                            u"[] n () id= enabled="_s, u"[] n () id= enabled="_s}));
        QCOMPARE(m_tab->label("sourceSummaryLabel"), u"3 sources."_s);
        m_tab->backend.answer("list_news_sources", Json::array({Json::object()}));
        m_tab->press("Refresh Sources");
        QCOMPARE(m_tab->label("sourceSummaryLabel"), u"1 sources."_s);
    }

    void whatCannotBeListedShowsAsNone()
    {
        const CaseTable<QByteArray> cases{
            {"a failure", R"([{"raise":["OSError","x"]}])"},
            {"an empty list", R"([{"answer":[]}])"},
            {"an object", R"([{"answer":{"sources":[]}}])"},
            {"rows that are no objects", R"([{"answer":[{},"x"]}])"},
        };
        for (const auto& [steps] : cases) {
            m_tab.emplace();
            m_tab->backend.script("list_news_sources", Json::parse(steps.toStdString()).get<std::vector<Json>>());
            m_tab->select(1);
            QCOMPARE(m_tab->titles("sourcePopup"), QStringList{u"(no sources)"_s});
            QCOMPARE(m_tab->label("sourceSummaryLabel"), u"0 sources."_s);
            QCOMPARE(m_tab->status(), u"Loaded config for sma."_s);
        }
    }

    void aRefreshOfTheSkillsHidesThem()
    {
        m_tab->select(1);
        QCOMPARE(m_tab->label("sourceSummaryLabel"), u"1 sources."_s);
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
            Controls::choose(popups[0], u"webpage"_s);
            fields[0]->setText(u" id "_s);
            fields[1]->setText(u"新闻\t"_s);
            fields[2]->setText(u"\nhttps://a"_s);
            Controls::choose(popups[1], u"false"_s);
            DialogRobot::press(u"Add"_s)(dialog);
        }});
        m_tab->press("Add Source");
        QCOMPARE(robot.titles(), QStringList{u"Add Source"_s});
        QCOMPARE(robot.shown().front().text, u"Use Type, ID, Name, and URL."_s);
        QCOMPARE(robot.shown().front().buttons, (QStringList{u"Cancel"_s, u"Add"_s}));
        const char* const source =
            "[{\"type\":\"webpage\",\"id\":\"id\",\"name\":\"新闻\",\"url\":\"https://a\",\"enabled\":false}]";
        QCOMPARE(m_tab->arguments("add_news_source").dump(), std::string(source));
        QCOMPARE(m_tab->backend.count("list_news_sources"), 2);
        QCOMPARE(m_tab->status(), u"Source added."_s);
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
        QCOMPARE(captions.join(u' '), u"Type ID Name URL Enabled"_s);
        QCOMPARE(titles.join(u' '), u"rss webpage x true false"_s);
        QCOMPARE(size, QSize(420, 188));
    }

    void aSourceWithoutAnythingIsSentToo()
    {
        m_tab->select(1);
        const DialogRobot robot({DialogRobot::press(u"Add"_s)});
        m_tab->press("Add Source");
        const char* const source = R"([{"type":"rss","id":"","name":"","url":"","enabled":true}])";
        QCOMPARE(m_tab->arguments("add_news_source").dump(), std::string(source));
    }

    void ofAnAnswerOnlyItsSuccessCounts_data() { addUnreadReplies(); }

    void ofAnAnswerOnlyItsSuccessCounts()
    {
        QFETCH(Json, reply);
        m_tab->backend.answer("add_news_source", reply);
        m_tab->select(1);
        const DialogRobot robot({DialogRobot::press(u"Add"_s)});
        m_tab->press("Add Source");
        QCOMPARE(robot.shown().size(), std::size_t(1));
        QCOMPARE(m_tab->status(), u"Source added."_s);
    }

    void cancellingAddsNothing()
    {
        m_tab->select(1);
        const DialogRobot robot({DialogRobot::press(u"Cancel"_s), DialogRobot::press(Qt::Key_Escape)});
        m_tab->press("Add Source");
        m_tab->press("Add Source");
        QCOMPARE(robot.shown().size(), std::size_t(2));
        QCOMPARE(m_tab->backend.count("add_news_source"), 0);
        QCOMPARE(m_tab->status(), u"Loaded config for sma."_s);
    }

    void aSourceThatIsRefusedIsToldAndNotListed()
    {
        m_tab->select(1);
        m_tab->backend.raise("add_news_source", "ValueError", "the URL <b>is</b> empty");
        const DialogRobot robot({DialogRobot::press(u"Add"_s), DialogRobot::press(u"OK"_s)});
        m_tab->press("Add Source");
        QCOMPARE(robot.titles(), (QStringList{u"Add Source"_s, u"Add Source Failed"_s}));
        QCOMPARE(robot.shown().back().text, u"ERROR: ValueError: the URL <b>is</b> empty"_s);
        QCOMPARE(m_tab->backend.count("list_news_sources"), 1);
        QCOMPARE(m_tab->status(), u"Loaded config for sma."_s);
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
            DialogRobot::press(u"Add"_s)(dialog);
        }});
        QMetaObject::invokeMethod(
            Controls::button(m_tab->view(), u"Add Source"_s),
            [button = Controls::button(m_tab->view(), u"Add Source"_s)] { button->click(); }, Qt::QueuedConnection);
        QTRY_COMPARE(robot.shown().size(), std::size_t(1));
        QCOMPARE(m_tab->backend.count("add_news_source"), 0);
    }

private:
    QWidget* section() { return m_tab->find<QWidget>("sourceSection"); }

    std::optional<SkillsTab> m_tab;
};

QTEST_MAIN(TestNewsSourceSection)
#include "TestNewsSourceSection.moc"
