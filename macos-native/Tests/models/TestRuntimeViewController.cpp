#include "models/RuntimeViewController.h"

#include "support/ScriptedBackend.h"
#include "support/Warnings.h"

#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;

/// The Runtime tab on the real helper.
class TestRuntimeViewController final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_backend.emplace();
        m_backend->answer("openclaw_runtime_status", {{"os", "Debian 你好"}, {"installed", true}});
        m_controller = std::make_unique<RuntimeViewController>();
        m_controller->resize(900, 600);
    }

    void cleanup()
    {
        m_controller.reset();
        m_backend.reset();
    }

    void nothingIsBuiltBeforeItIsAskedFor()
    {
        QVERIFY(m_controller->findChildren<QLabel*>().isEmpty()); // not even built
        QCOMPARE(m_backend->count("openclaw_runtime_status"), 0);
    }

    void loadsItsReportOnce()
    {
        m_controller->loadViewIfNeeded();
        QVERIFY(summary().startsWith(u"OS: Debian 你好\nInstalled: yes\n"_s));
        QCOMPARE(status(), u"Runtime status refreshed."_s);

        m_controller->show();
        m_controller->hide();
        m_controller->show();
        QCOMPARE(m_backend->count("openclaw_runtime_status"), 1);
        QCOMPARE(m_backend->calls().front().args.dump(), std::string("[]"));
    }

    void itIsReadyAndLoadingUntilTheAnswerIsThere()
    {
        const QString seen = m_backend->seenDuring(
            "openclaw_runtime_status", {{"os", "x"}}, [this] { return summary() + u'|' + status(); },
            [this] { m_controller->loadViewIfNeeded(); });
        QCOMPARE(seen, u"Loading...|Ready"_s);
    }

    void refreshAsksAgain()
    {
        m_controller->loadViewIfNeeded();
        m_backend->answer("openclaw_runtime_status", Json::object());
        pressRefresh();
        QCOMPARE(summary(), u"Runtime status unavailable."_s);
        QCOMPARE(status(), u"Failed to refresh runtime status."_s);
    }

    void aDeadHelperIsShownAndTheNextRefreshRecovers()
    {
        m_controller->loadViewIfNeeded();
        m_backend->script("openclaw_runtime_status", {{{"exit", 1}}});
        pressRefresh();
        QCOMPARE(summary(), u"ERROR: backend helper terminated"_s);
        QCOMPARE(status(), u"Failed to refresh runtime status."_s);

        m_backend->answer("openclaw_runtime_status", {{"os", "back"}});
        pressRefresh();
        QVERIFY(summary().startsWith(u"OS: back\n"_s));
        QCOMPARE(status(), u"Runtime status refreshed."_s);
    }

    void aLongErrorScrollsAndLeavesTheSizeAlone()
    {
        m_backend->raise("openclaw_runtime_status", "ValueError", std::string(10'000, 'x') + std::string(1'000, '\n'));
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_controller.get()));
        QCOMPARE(m_controller->size(), QSize(900, 600));
        QVERIFY(m_controller->minimumSizeHint().width() < 900);
        QVERIFY(m_controller->minimumSizeHint().height() < 600);
        QVERIFY(m_controller->findChild<QScrollArea*>()->verticalScrollBar()->maximum()
                > 0); // all of it can be reached
    }

    void keepsItsMargins()
    {
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_controller.get()));
        const auto frame = [this](const QWidget* widget) {
            return QRect(widget->mapTo(m_controller.get(), QPoint()), widget->size());
        };
        const QRect button = frame(m_controller->findChild<QPushButton*>());
        const QRect box = frame(m_controller->findChild<QGroupBox*>());
        const QRect statusLine = frame(m_controller->findChild<QLabel*>(u"statusLabel"_s));
        QCOMPARE(button.topLeft(), QPoint(16, 16));
        QCOMPARE(box.left(), 16);
        QCOMPARE(box.top(), button.bottom() + 1 + 10);
        QCOMPARE(box.right() + 1, 900 - 16);
        QCOMPARE(statusLine.left(), 16);
        QCOMPARE(statusLine.right() + 1, 900 - 16);
        QCOMPARE(statusLine.bottom() + 1, 600 - 14);
        QVERIFY(statusLine.top() - (box.bottom() + 1) >= 12);
        const auto* group = m_controller->findChild<QGroupBox*>();
        const QRect report = frame(m_controller->findChild<QLabel*>(u"summaryLabel"_s));
        const QRect inside = group->contentsRect().translated(box.topLeft());
        QCOMPARE(report.left(), inside.left() + 10);
        QCOMPARE(report.top(), inside.top() + 10);
        QCOMPARE(report.right(), inside.right() - 10);
        QCOMPARE(report.bottom(), inside.bottom() - 10);
        QCOMPARE(group->title(), u"OpenClaw Runtime"_s);
    }

    void theKeyboardGoesFromTheButtonToTheReport()
    {
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowActive(m_controller.get()));
        auto* const button = m_controller->findChild<QPushButton*>();
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Tab);
        QVERIFY(m_controller->findChild<QScrollArea*>()->widget()->hasFocus());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QVERIFY(button->hasFocus()); // the frame in between takes no part
    }

private:
    QString summary() const { return m_controller->findChild<QLabel*>(u"summaryLabel"_s)->text(); }
    QString status() const { return m_controller->findChild<QLabel*>(u"statusLabel"_s)->text(); }
    void pressRefresh() { m_controller->findChild<QPushButton*>()->click(); }

    std::optional<ScriptedBackend> m_backend;
    std::unique_ptr<RuntimeViewController> m_controller;
};

QTEST_MAIN(TestRuntimeViewController)
#include "TestRuntimeViewController.moc"
