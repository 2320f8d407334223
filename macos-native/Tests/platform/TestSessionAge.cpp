#include "platform/SessionAge.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace std::chrono_literals;

/// The age of a session, which is the age of its message bus.
class TestSessionAge final : public TestCase
{
    Q_OBJECT

private slots:
    void aProcessIsAsOldAsItsStartSays()
    {
        const QByteArray fields = " S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 ";
        const CaseTable<QByteArray, std::chrono::milliseconds> cases{
            {"an ordinary name", "42 (dbus-daemon)" + fields + "6050 19 20\n", 39'500ms},
            {"a name with spaces, a parenthesis and figures", "42 (a) S 1 2 (b))" + fields + "9999 19 20\n", 10ms},
            {"a start in the future", "42 (dbus-daemon)" + fields + "10001 19 20\n", -1ms},
            {"a line that is cut off", "42 (dbus-daemon)" + fields, -1ms},
            {"no line", {}, -1ms},
        };
        for (const auto& [stat, age] : cases)
            QCOMPARE(processAge(stat, 100s, 100).value_or(-1ms).count(), age.count());
    }
};

QTEST_APPLESS_MAIN(TestSessionAge)
#include "TestSessionAge.moc"
