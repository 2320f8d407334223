#include "skills/SkillsTab.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <QDialog>
#include <QLayout>

using namespace Qt::StringLiterals;

/// The news sources of the skill that watches them, in the Skills tab.
class TestNewsSourceSection final : public TestCase
{
    Q_OBJECT

private slots:
    void onlyOneSkillShowsThem()
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
        QMap<int, QString> parts; // by their vertical position
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

    void otherRepliesAreShownAsNoSources()
    {
        const CaseTable<const char*> cases{
            {"a failure", R"({"raise":["OSError","x"]})"},
            {"an empty list", R"({"answer":[]})"},
            {"an object", R"({"answer":{"sources":[]}})"},
            {"rows that are no objects", R"({"answer":[{},"x"]})"},
        };
        for (const auto& [step] : cases) {
            restart();
            m_tab->backend.script("list_news_sources", {Json::parse(step)});
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
            Controls::choose(Controls::named<QComboBox>(dialog, u"Type"_s), u"webpage"_s);
            Controls::named<QLineEdit>(dialog, u"ID"_s)->setText(u" id "_s);
            Controls::named<QLineEdit>(dialog, u"Name"_s)->setText(u"新闻\t"_s);
            Controls::named<QLineEdit>(dialog, u"URL"_s)->setText(u"\nhttps://a"_s);
            Controls::choose(Controls::named<QComboBox>(dialog, u"Enabled"_s), u"false"_s);
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

    void theFormHasItsFieldsAndTitles()
    {
        m_tab->select(1);
        QStringList captions;
        const DialogRobot robot({[&captions](QDialog& dialog) {
            const auto* type = Controls::named<QComboBox>(dialog, u"Type"_s);
            QCOMPARE(Controls::titles(*type).join(u' '), u"rss webpage x"_s);
            QCOMPARE(Controls::titles(*Controls::named<QComboBox>(dialog, u"Enabled"_s)).join(u' '), u"true false"_s);
            QCOMPARE(dialog.focusWidget(), type);
            QCOMPARE(type->x(), 72 + 8);
            QCOMPARE(type->parentWidget()->size(), QSize(420, 188));
            QCOMPARE(type->parentWidget()->layout()->contentsMargins(), QMargins(0, 4, 0, 4));
            QCOMPARE(type->parentWidget()->layout()->spacing(), 8);
            for (const QLabel* label : type->parentWidget()->findChildren<QLabel*>())
                captions.append(label->text());
        }});
        m_tab->press("Add Source");
        QCOMPARE(captions.join(u' '), u"Type ID Name URL Enabled"_s);
    }

    void aSourceWithoutAnythingIsSentToo()
    {
        m_tab->select(1);
        const DialogRobot robot({DialogRobot::press(u"Add"_s)});
        m_tab->press("Add Source");
        const char* const source = R"([{"type":"rss","id":"","name":"","url":"","enabled":true}])";
        QCOMPARE(m_tab->arguments("add_news_source").dump(), std::string(source));
    }

    void nothingIsAddedForAnotherSkill()
    {
        m_tab->select(0);
        const DialogRobot robot;
        m_tab->press("Add Source"); // the button is hidden
        QVERIFY(robot.shown().empty());
        QCOMPARE(m_tab->backend.count("add_news_source"), 0);
    }

private:
    QWidget* section() { return m_tab->find<QWidget>("sourceSection"); }

    Fresh<SkillsTab> m_tab{this};
};

QTEST_MAIN(TestNewsSourceSection)
#include "TestNewsSourceSection.moc"
