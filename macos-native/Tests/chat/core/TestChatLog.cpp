#include "chat/core/ChatLog.h"

#include "support/Files.h"
#include "support/SmallDisk.h"
#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/stat.h>

namespace {

/// A line of the log without its time, which has been checked; a null text when it has not the form of an entry.
QString messageOf(const QByteArray& line)
{
    static const QRegularExpression form(QStringLiteral("^\\[(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ)\\] (.*)\n$"),
                                         QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = form.match(QString::fromUtf8(line));
    const QDateTime time = QDateTime::fromString(match.captured(1), Qt::ISODate);
    const bool isNow = qAbs(time.secsTo(QDateTime::currentDateTimeUtc())) <= 60;
    return match.hasMatch() && isNow ? match.captured(2) : QString();
}

} // namespace

/// The chat's diagnostics log.
class TestChatLog final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_home = std::make_unique<TestHome>();
    }

    void cleanup() { m_home.reset(); }

    void theFirstEntryMakesFolderAndFile()
    {
        QCOMPARE(neloChatLogURL(), m_home->path(QStringLiteral(".nelo/menubar_chat.log")));
        QVERIFY(QDir(m_home->path()).rmdir(QStringLiteral(".nelo")));
        neloChatLog(QStringLiteral("send triggered"));
        QCOMPARE(Files::names(m_home->path(QStringLiteral(".nelo"))), QStringList{QStringLiteral("menubar_chat.log")});
        QCOMPARE(messageOf(Files::contentOf(neloChatLogURL())), QStringLiteral("send triggered"));
    }

    void entriesAreLinesInOrderWithTheirTime()
    {
        neloChatLog(QStringLiteral("one"));
        neloChatLog(QStringLiteral("two"));
        QFile log(neloChatLogURL());
        QVERIFY(log.open(QFile::ReadOnly));
        QCOMPARE(messageOf(log.readLine()), QStringLiteral("one"));
        QCOMPARE(messageOf(log.readLine()), QStringLiteral("two"));
        QVERIFY(log.atEnd());
    }

    void anEntryIsWrittenAsItIs_data()
    {
        QTest::addColumn<QString>("message");
        QTest::newRow("several lines") << QStringLiteral("HTTP 500\n<html>\n</html>");
        QTest::newRow("Chinese and an emoji") << QStringLiteral("你好 👋");
        QTest::newRow("a zero character") << QStringLiteral("a") + QChar(0) + QStringLiteral("b");
        QTest::newRow("what looks like an argument") << QStringLiteral("%1 %s %n");
        QTest::newRow("2 MB, unshortened") << QString(2'000'000, QLatin1Char('x'));
    }

    void anEntryIsWrittenAsItIs()
    {
        QFETCH(QString, message);
        neloChatLog(message);
        QCOMPARE(messageOf(Files::contentOf(neloChatLogURL())), message);
    }

    void theFileIsPrivateUnderAnyUmask()
    {
        const mode_t before = umask(0);
        neloChatLog(QStringLiteral("one"));
        const int mode = Files::mode(neloChatLogURL());
        umask(before);
        QCOMPARE(mode, 0600);
    }

    void aFileThatIsThereOnlyGrows()
    {
        Files::create(neloChatLogURL(), "what was there");
        chmod(QFile::encodeName(neloChatLogURL()).constData(), 0644);
        neloChatLog(QStringLiteral("one"));
        const QByteArray content = Files::contentOf(neloChatLogURL());
        QVERIFY(content.startsWith("what was there["));
        QVERIFY(content.endsWith("] one\n"));
        QCOMPARE(Files::mode(neloChatLogURL()), 0644);
    }

    void theFileMayBeMovedAwayBetweenEntries()
    {
        neloChatLog(QStringLiteral("one"));
        QVERIFY(QFile::rename(neloChatLogURL(), neloChatLogURL() + QStringLiteral(".1")));
        neloChatLog(QStringLiteral("two"));
        QCOMPARE(messageOf(Files::contentOf(neloChatLogURL())), QStringLiteral("two"));
    }

    void anEntryThatCannotBeWrittenIsDropped_data()
    {
        QTest::addColumn<QString>("inPlace");
        QTest::newRow("a folder in place of the log") << QStringLiteral("folder");
        QTest::newRow("a pipe that nobody reads") << QStringLiteral("pipe");
        QTest::newRow("a file in place of the folder") << QStringLiteral("file");
    }

    void anEntryThatCannotBeWrittenIsDropped()
    {
        QFETCH(QString, inPlace);
        if (inPlace == QStringLiteral("folder"))
            QVERIFY(QDir().mkpath(neloChatLogURL()));
        else if (inPlace == QStringLiteral("pipe"))
            QCOMPARE(mkfifo(QFile::encodeName(neloChatLogURL()).constData(), 0600), 0);
        else
            Files::create(m_home->path(QStringLiteral(".nelo")), "a file");
        const QStringList before = Files::names(m_home->path());
        neloChatLog(QStringLiteral("one"));
        QCOMPARE(Files::names(m_home->path()), before);
        QVERIFY(!QFileInfo(neloChatLogURL()).isFile());
    }

    void aReadOnlyLogStaysAsItIs()
    {
        const SmallDisk disk;
        qputenv("HOME", QFile::encodeName(disk.path()));
        neloChatLog(QStringLiteral("one"));
        const QByteArray before = Files::contentOf(neloChatLogURL());
        disk.makeReadOnly();
        neloChatLog(QStringLiteral("two"));
        QCOMPARE(Files::contentOf(neloChatLogURL()), before);
    }

    void aFullDiskCostsEntriesOnly()
    {
        const SmallDisk disk;
        qputenv("HOME", QFile::encodeName(disk.path()));
        neloChatLogURL(); // makes the folder
        disk.fill();
        neloChatLog(QStringLiteral("dropped"));
        QCOMPARE(Files::names(disk.path(QStringLiteral(".nelo"))), QStringList());
        disk.empty();
        neloChatLog(QStringLiteral("kept"));
        QCOMPARE(messageOf(Files::contentOf(neloChatLogURL())), QStringLiteral("kept"));
    }

private:
    std::unique_ptr<TestHome> m_home;
};

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestChatLog test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestChatLog.moc"
