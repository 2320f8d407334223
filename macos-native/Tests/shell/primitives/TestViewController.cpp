#include "shell/primitives/ViewController.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <QStackedWidget>
#include <QtTest/qtestspontaneevent.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

class Recorder final : public ViewController
{
public:
    explicit Recorder(QStringList* events, const QString& name = {}) : m_events(events) { setObjectName(name); }

protected:
    void loadView() override { record(u"loadView"_s); }
    void viewDidLoad() override { record(u"viewDidLoad"_s); }
    void viewDidAppear() override
    {
        record(u"viewDidAppear"_s);
        QVERIFY(isVisible());
    }
    void viewWillDisappear() override { record(u"viewWillDisappear"_s); }

private:
    void record(const QString& event) { m_events->append(objectName() + event); }

    QStringList* m_events;
};

/// Sends the events that the window system sends when a window is minimised and restored.
void minimise(Recorder& controller)
{
    QHideEvent minimised;
    QShowEvent restored;
    for (QEvent* event : {static_cast<QEvent*>(&minimised), static_cast<QEvent*>(&restored)}) {
        QSpontaneKeyEvent::setSpontaneous(event);
        qApp->notify(&controller, event);
    }
}

void waitUntilShown(Recorder& controller)
{
    if (controller.isVisible())
        QVERIFY(QTest::qWaitForWindowExposed(&controller));
    QCoreApplication::processEvents();
}

/// Carries out `steps`, words with blanks between them.
void carryOut(Recorder& controller, const QString& steps)
{
    const QMap<QString, std::function<void()>> actions{
        {u"load"_s, [&] { controller.loadViewIfNeeded(); }},
        {u"show"_s, [&] { controller.show(); }},
        {u"hide"_s, [&] { controller.hide(); }},
        {u"close"_s, [&] { controller.close(); }},
        {u"minimise"_s, [&] { minimise(controller); }},
        {u"wait"_s, [&] { waitUntilShown(controller); }},
    };
    for (const QString& step : steps.split(u' '))
        actions[step]();
}

} // namespace

/// When the functions of a view controller are called.
class TestViewController final : public TestCase
{
    Q_OBJECT

private slots:
    void eachFunctionIsCalledExactlyWhenItsNameSays()
    {
        const CaseTable<QString, QString> cases{
            {"nothing is built before it is asked for", u"wait"_s, {}},
            {"it loads once", u"load load"_s, u"loadView viewDidLoad"_s},
            {"showing loads a view that nobody asked for", u"show"_s, u"loadView viewDidLoad"_s},
            {"it appears once it is on the screen", u"load show wait"_s, u"loadView viewDidLoad viewDidAppear"_s},
            {"it disappears at once when it is hidden", u"show wait hide"_s,
             u"loadView viewDidLoad viewDidAppear viewWillDisappear"_s},
            {"it appears again", u"show wait hide show wait"_s,
             u"loadView viewDidLoad viewDidAppear viewWillDisappear viewDidAppear"_s},
            {"hidden before the event loop ran it never appeared", u"load show hide wait"_s, u"loadView viewDidLoad"_s},
            {"shown twice before the event loop ran it appears once", u"show hide show wait wait"_s,
             u"loadView viewDidLoad viewDidAppear"_s},
            {"it disappears with its window", u"show wait close"_s,
             u"loadView viewDidLoad viewDidAppear viewWillDisappear"_s},
            {"minimising is neither", u"show wait minimise wait"_s, u"loadView viewDidLoad viewDidAppear"_s},
        };
        for (const auto& [steps, expected] : cases) {
            QStringList events;
            Recorder controller(&events);
            carryOut(controller, steps);
            QCOMPARE(events.join(u' '), expected);
        }
    }

    void theFormerTabDisappearsBeforeTheNextOneLoads()
    {
        QStringList events;
        QStackedWidget tabs;
        tabs.addWidget(new Recorder(&events, u"first "_s));
        tabs.addWidget(new Recorder(&events, u"second "_s));
        tabs.show();
        QTRY_COMPARE(events.size(), 3);
        events.clear();
        tabs.setCurrentIndex(1);
        const QStringList expected{u"first viewWillDisappear"_s, u"second loadView"_s, u"second viewDidLoad"_s,
                                   u"second viewDidAppear"_s};
        QTRY_COMPARE(events, expected);
    }
};

QTEST_MAIN(TestViewController)
#include "TestViewController.moc"
