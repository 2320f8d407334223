#include "models/RuntimeViewController.h"

#include "support/TabFixture.h"
#include "support/TestCase.h"

#include <QApplication>
#include <QGroupBox>
#include <QScrollArea>
#include <QScrollBar>

using namespace Qt::StringLiterals;

/// The Runtime tab on the real helper.
class TestRuntimeViewController final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        m_tab->backend.answer("openclaw_runtime_status", {{"os", "Debian 你好"}, {"installed", true}});
    }

    void loadsItsReportOnceWhenItIsAskedFor()
    {
        const RuntimeViewController unloaded;
        QVERIFY(unloaded.findChildren<QLabel*>().isEmpty()); // not even built
        QCOMPARE(m_tab->backend.count("openclaw_runtime_status"), 0);

        m_tab->view().show();
        QVERIFY(m_tab->label("summaryLabel").startsWith(u"OS: Debian 你好\nInstalled: yes\n"_s));
        QCOMPARE(m_tab->status(), u"Runtime status refreshed."_s);
        m_tab->view().hide();
        m_tab->view().show();
        QCOMPARE(m_tab->backend.calls(),
                 (std::vector<ScriptedBackend::Call>{{"openclaw_runtime_status", Json::array()}}));
    }

    void itIsReadyAndLoadingUntilTheAnswerIsThere()
    {
        RuntimeViewController tab;
        const auto text = [&tab](const QString& label) { return tab.findChild<QLabel*>(label)->text(); };
        const QString seen = m_tab->backend.seenDuring(
            "openclaw_runtime_status", {{"os", "x"}},
            [&] { return text(u"summaryLabel"_s) + u'|' + text(u"statusLabel"_s); }, [&] { tab.loadViewIfNeeded(); });
        QCOMPARE(seen, u"Loading...|Ready"_s);
    }

    void refreshAsksAgain()
    {
        m_tab->view();
        m_tab->backend.answer("openclaw_runtime_status", Json::object());
        m_tab->press("Refresh");
        QCOMPARE(m_tab->label("summaryLabel"), u"Runtime status unavailable."_s);
        QCOMPARE(m_tab->status(), u"Failed to refresh runtime status."_s);
    }

    void aLongErrorScrollsAndLeavesTheSizeAlone()
    {
        m_tab->backend.raise("openclaw_runtime_status", "ValueError",
                             std::string(10'000, 'x') + std::string(1'000, '\n'));
        m_tab->show();
        QCOMPARE(m_tab->view().size(), QSize(1000, 640));
        QVERIFY(m_tab->view().minimumSizeHint().width() < 1000);
        QVERIFY(m_tab->view().minimumSizeHint().height() < 640);
        QVERIFY(m_tab->view().findChild<QScrollArea*>()->verticalScrollBar()->maximum()
                > 0); // all of it can be reached
    }

    void theViewIsLaidOutAsGiven()
    {
        m_tab->show();
        const auto frame = [this](const QWidget* widget) {
            return QRect(widget->mapTo(&m_tab->view(), QPoint()), widget->size());
        };
        const auto* group = m_tab->view().findChild<QGroupBox*>();
        QCOMPARE(group->title(), u"OpenClaw Runtime"_s);
        const QRect button = frame(Controls::button(m_tab->view(), u"Refresh"_s));
        const QRect box = frame(group);
        const QRect status = frame(m_tab->find<QLabel>("statusLabel"));
        QCOMPARE((QList<int>{button.left(), button.top(), box.left(), box.top() - button.bottom() - 1,
                             999 - box.right(), status.left(), 999 - status.right(), 639 - status.bottom()}),
                 (QList<int>{16, 16, 16, 10, 16, 16, 16, 14}));
        QVERIFY(status.top() - (box.bottom() + 1) >= 12);
        const QRect inside = group->contentsRect().translated(box.topLeft());
        const auto* summary = m_tab->find<QLabel>("summaryLabel");
        QCOMPARE(frame(summary), inside.marginsRemoved({10, 10, 10, 10}));
        QCOMPARE(summary->alignment(), Qt::AlignTop | Qt::AlignLeft);
        QVERIFY(!summary->autoFillBackground()
                && !summary->parentWidget()->autoFillBackground()); // the box has its own
    }

    void theKeyboardGoesFromTheButtonToTheReport()
    {
        m_tab->show();
        QPushButton* button = Controls::button(m_tab->view(), u"Refresh"_s);
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Tab);
        QVERIFY(m_tab->view().findChild<QScrollArea*>()->widget()->hasFocus());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QVERIFY(button->hasFocus()); // the frame in between takes no part
    }

private:
    Fresh<TabFixture<RuntimeViewController>> m_tab{this};
};

QTEST_MAIN(TestRuntimeViewController)
#include "TestRuntimeViewController.moc"
