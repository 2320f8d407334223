#include "platform/SessionAge.h"

#include <QTest>

using namespace std::chrono_literals;

/// How long a session has lasted, by the start of its bus.
class TestSessionAge final : public QObject
{
    Q_OBJECT

private slots:
    void aProcessIsAsOldAsItsStartSays_data()
    {
        QTest::addColumn<QByteArray>("stat");
        QTest::addColumn<int>("milliseconds");
        const QByteArray fields = " S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 ";
        QTest::newRow("an ordinary name") << QByteArray("42 (dbus-daemon)" + fields + "6050 19 20\n") << 39'500;
        QTest::newRow("a name with spaces, a parenthesis and figures")
            << QByteArray("42 (a) S 1 2 (b))" + fields + "9999 19 20\n") << 10;
        QTest::newRow("a start in the future") << QByteArray("42 (dbus-daemon)" + fields + "10001 19 20\n") << -1;
        QTest::newRow("a line that is cut off") << QByteArray("42 (dbus-daemon)" + fields) << -1;
        QTest::newRow("no line") << QByteArray() << -1;
    }

    void aProcessIsAsOldAsItsStartSays()
    {
        QFETCH(QByteArray, stat);
        QFETCH(int, milliseconds);
        const auto age = processAge(stat, 100s, 100);
        QCOMPARE(age.value_or(-1ms).count(), milliseconds);
    }
};

QTEST_APPLESS_MAIN(TestSessionAge)
#include "TestSessionAge.moc"
