#include "platform/TerminationSignals.h"

#include "support/TestCase.h"

#include <QSignalSpy>

#include <signal.h>

/// The signals that ask a program to end.
class TestTerminationSignals final : public TestCase
{
    Q_OBJECT

private slots:
    void aSignalIsReportedByTheEventLoop()
    {
        for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
            const TerminationSignals terminationSignals;
            const QSignalSpy spy(&terminationSignals, &TerminationSignals::received);
            raise(number);
            QCOMPARE(spy.count(), 0); // not from within the handler
            QTRY_COMPARE(spy.count(), 1);
        }
    }

    void severalSignalsAreReportedOnce()
    {
        const TerminationSignals terminationSignals;
        const QSignalSpy spy(&terminationSignals, &TerminationSignals::received);
        raise(SIGTERM);
        raise(SIGINT);
        QTRY_COMPARE(spy.count(), 1);
        QCoreApplication::processEvents();
        QCOMPARE(spy.count(), 1);
    }

    void aSecondSignalEndsTheProgramImmediately()
    {
        const TerminationSignals terminationSignals;
        raise(SIGTERM);
        struct sigaction action
        {};
        sigaction(SIGTERM, nullptr, &action);
        QVERIFY(action.sa_handler == SIG_DFL);
    }

    void anIgnoredSignalStaysIgnored()
    {
        const auto before = signal(SIGHUP, SIG_IGN);
        {
            const TerminationSignals terminationSignals;
            struct sigaction action
            {};
            sigaction(SIGHUP, nullptr, &action);
            QVERIFY(action.sa_handler == SIG_IGN);
        }
        QVERIFY(signal(SIGHUP, before) == SIG_IGN);
    }

    void theFormerHandlersAreRestored()
    {
        constexpr auto handler = [](int) {};
        const auto before = signal(SIGTERM, handler);
        {
            const TerminationSignals terminationSignals;
        }
        QVERIFY(signal(SIGTERM, before) == static_cast<sighandler_t>(handler));
    }
};

QTEST_GUILESS_MAIN(TestTerminationSignals)
#include "TestTerminationSignals.moc"
