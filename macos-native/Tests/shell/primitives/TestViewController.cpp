#include "shell/primitives/ViewController.h"

#include "support/Warnings.h"

#include <QStackedWidget>
#include <QTest>
#include <QtTest/qtestspontaneevent.h>

namespace {

class Recorder final : public ViewController
{
public:
    Recorder(QString name, QStringList* events) : m_name(std::move(name)), m_events(events) {}

protected:
    void loadView() override { record("loadView"); }
    void viewDidLoad() override { record("viewDidLoad"); }
    void viewDidAppear() override
    {
        record("viewDidAppear");
        QVERIFY(isVisible());
    }
    void viewWillDisappear() override { record("viewWillDisappear"); }

private:
    void record(const char* event) { m_events->append(m_name + QLatin1String(event)); }

    QString m_name;
    QStringList* m_events;
};

} // namespace

/// When a view controller is told what.
class TestViewController final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void nothingIsBuiltBeforeItIsAskedFor()
    {
        QStringList events;
        const Recorder controller({}, &events);
        QCoreApplication::processEvents();
        QCOMPARE(events, QStringList());
    }

    void theViewLoadsOnce()
    {
        QStringList events;
        Recorder controller({}, &events);
        controller.loadViewIfNeeded();
        controller.loadViewIfNeeded();
        QCOMPARE(events, (QStringList{QStringLiteral("loadView"), QStringLiteral("viewDidLoad")}));
    }

    void showingLoadsAViewThatNobodyAskedFor()
    {
        QStringList events;
        Recorder controller({}, &events);
        controller.show();
        QCOMPARE(events, (QStringList{QStringLiteral("loadView"), QStringLiteral("viewDidLoad")}));
        QTRY_COMPARE(events.size(), 3);
    }

    void appearsOnceItIsOnTheScreen()
    {
        QStringList events;
        Recorder controller({}, &events);
        controller.loadViewIfNeeded();
        events.clear();
        controller.show();
        QCOMPARE(events, QStringList());
        QTRY_COMPARE(events, QStringList{QStringLiteral("viewDidAppear")});
    }

    void disappearsWhenHiddenAndAppearsAgain()
    {
        QStringList events;
        Recorder controller({}, &events);
        controller.show();
        QTRY_COMPARE(events.size(), 3);
        events.clear();
        controller.hide();
        QCOMPARE(events, QStringList{QStringLiteral("viewWillDisappear")});
        controller.show();
        QTRY_COMPARE(events, (QStringList{QStringLiteral("viewWillDisappear"), QStringLiteral("viewDidAppear")}));
    }

    void hiddenBeforeTheEventLoopRanItNeverAppeared()
    {
        QStringList events;
        Recorder controller({}, &events);
        controller.loadViewIfNeeded();
        events.clear();
        controller.show();
        controller.hide();
        QCoreApplication::processEvents();
        QCOMPARE(events, QStringList());
        controller.show();
        controller.hide();
        controller.show();
        QTRY_COMPARE(events, QStringList{QStringLiteral("viewDidAppear")});
        QCoreApplication::processEvents();
        QCOMPARE(events.size(), 1);
    }

    void aTabAppearsWhenItIsSelected()
    {
        QStringList events;
        QStackedWidget tabs;
        auto* first = new Recorder(QStringLiteral("first "), &events);
        auto* second = new Recorder(QStringLiteral("second "), &events);
        tabs.addWidget(first);
        tabs.addWidget(second);
        first->loadViewIfNeeded();
        second->loadViewIfNeeded();
        events.clear();
        tabs.show();
        QTRY_COMPARE(events, QStringList{QStringLiteral("first viewDidAppear")});
        tabs.setCurrentWidget(second);
        QTRY_COMPARE(events.constLast(), QStringLiteral("second viewDidAppear"));
    }

    void theLeavingTabIsToldBeforeTheComingOne()
    {
        QStringList events;
        QStackedWidget tabs;
        tabs.addWidget(new Recorder(QStringLiteral("first "), &events));
        tabs.addWidget(new Recorder(QStringLiteral("second "), &events));
        tabs.show();
        QTRY_COMPARE(events.size(), 3);
        events.clear();
        tabs.setCurrentIndex(1);
        const QStringList expected{QStringLiteral("first viewWillDisappear"), QStringLiteral("second loadView"),
                                   QStringLiteral("second viewDidLoad"), QStringLiteral("second viewDidAppear")};
        QTRY_COMPARE(events, expected);
    }

    void closingTheWindowDisappears()
    {
        QStringList events;
        Recorder controller({}, &events);
        controller.show();
        QTRY_COMPARE(events.size(), 3);
        controller.close();
        QCOMPARE(events.constLast(), QStringLiteral("viewWillDisappear"));
    }

    void minimisingIsNeither()
    {
        QStringList events;
        Recorder controller({}, &events);
        controller.show();
        QTRY_COMPARE(events.size(), 3);
        QHideEvent minimised;
        QShowEvent restored;
        for (QEvent* event : {static_cast<QEvent*>(&minimised), static_cast<QEvent*>(&restored)}) {
            QSpontaneKeyEvent::setSpontaneous(event); // as it comes from the window system
            qApp->notify(&controller, event);
        }
        QCoreApplication::processEvents();
        QCOMPARE(events.size(), 3);
    }
};

QTEST_MAIN(TestViewController)
#include "TestViewController.moc"
