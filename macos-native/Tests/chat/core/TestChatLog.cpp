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

using namespace Qt::StringLiterals;

namespace {

/// A line of the log without its time, which has been checked; a null text when it has not the form of an entry.
QString messageOf(const QByteArray& line)
{
    static const QRegularExpression form(u"^\\[(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ)\\] (.*)\n$"_s,
                                         QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = form.match(QString::fromUtf8(line));
    const QDateTime time = QDateTime::fromString(match.captured(1), Qt::ISODate);
    const bool isNow = qAbs(time.secsTo(QDateTime::currentDateTimeUtc())) <= 60;
    return match.hasMatch() && isNow ? match.captured(2) : QString();
}

/// A line such as "÷ 0020 × 0308 ÷ 0020 ÷	# what it is about" of Unicode's test: where a text may be divided.
struct BreakTest
{
    QString text;
    qsizetype clusters = 0;
};

BreakTest parse(const QString& line)
{
    BreakTest test;
    const QStringList words = line.section(u'#', 0, 0).split(u' ', Qt::SkipEmptyParts);
    for (const QString& word : words) {
        bool isCharacter = false;
        const char32_t character = word.toUInt(&isCharacter, 16);
        if (isCharacter)
            test.text += QString::fromUcs4(&character, 1);
        else if (word.startsWith(u'÷'))
            ++test.clusters;
    }
    --test.clusters; // the first boundary is before the first cluster
    return test;
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
        QCOMPARE(neloChatLogURL(), m_home->path(u".nelo/menubar_chat.log"_s));
        QVERIFY(QDir(m_home->path()).rmdir(u".nelo"_s));
        neloChatLog(u"send triggered"_s);
        QCOMPARE(Files::names(m_home->path(u".nelo"_s)), QStringList{u"menubar_chat.log"_s});
        QCOMPARE(messageOf(Files::contentOf(neloChatLogURL())), u"send triggered"_s);
    }

    void entriesAreLinesInOrderWithTheirTime()
    {
        neloChatLog(u"one"_s);
        neloChatLog(u"two"_s);
        QFile log(neloChatLogURL());
        QVERIFY(log.open(QFile::ReadOnly));
        QCOMPARE(messageOf(log.readLine()), u"one"_s);
        QCOMPARE(messageOf(log.readLine()), u"two"_s);
        QVERIFY(log.atEnd());
    }

    void anEntryIsWrittenAsItIs_data()
    {
        QTest::addColumn<QString>("message");
        QTest::newRow("several lines") << u"HTTP 500\n<html>\n</html>"_s;
        QTest::newRow("Chinese and an emoji") << u"你好 👋"_s;
        QTest::newRow("a zero character") << u"a"_s + QChar(0) + u"b"_s;
        QTest::newRow("what looks like an argument") << u"%1 %s %n"_s;
        QTest::newRow("2 MB, unshortened") << QString(2'000'000, u'x');
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
        neloChatLog(u"one"_s);
        const int mode = Files::mode(neloChatLogURL());
        umask(before);
        QCOMPARE(mode, 0600);
    }

    void aFileThatIsThereOnlyGrows()
    {
        Files::create(neloChatLogURL(), "what was there");
        chmod(QFile::encodeName(neloChatLogURL()).constData(), 0644);
        neloChatLog(u"one"_s);
        const QByteArray content = Files::contentOf(neloChatLogURL());
        QVERIFY(content.startsWith("what was there["));
        QVERIFY(content.endsWith("] one\n"));
        QCOMPARE(Files::mode(neloChatLogURL()), 0644);
    }

    void theFileMayBeMovedAwayBetweenEntries()
    {
        neloChatLog(u"one"_s);
        QVERIFY(QFile::rename(neloChatLogURL(), neloChatLogURL() + u".1"_s));
        neloChatLog(u"two"_s);
        QCOMPARE(messageOf(Files::contentOf(neloChatLogURL())), u"two"_s);
    }

    void anEntryThatCannotBeWrittenIsDropped_data()
    {
        QTest::addColumn<QString>("inPlace");
        QTest::newRow("a folder in place of the log") << u"folder"_s;
        QTest::newRow("a pipe that nobody reads") << u"pipe"_s;
        QTest::newRow("a file in place of the folder") << u"file"_s;
    }

    void anEntryThatCannotBeWrittenIsDropped()
    {
        QFETCH(QString, inPlace);
        if (inPlace == u"folder"_s)
            QVERIFY(QDir().mkpath(neloChatLogURL()));
        else if (inPlace == u"pipe"_s)
            QCOMPARE(mkfifo(QFile::encodeName(neloChatLogURL()).constData(), 0600), 0);
        else
            Files::create(m_home->path(u".nelo"_s), "a file");
        const QStringList before = Files::names(m_home->path());
        neloChatLog(u"one"_s);
        QCOMPARE(Files::names(m_home->path()), before);
        QVERIFY(!QFileInfo(neloChatLogURL()).isFile());
    }

    void aReadOnlyLogStaysAsItIs()
    {
        const SmallDisk disk;
        qputenv("HOME", QFile::encodeName(disk.path()));
        neloChatLog(u"one"_s);
        const QByteArray before = Files::contentOf(neloChatLogURL());
        disk.makeReadOnly();
        neloChatLog(u"two"_s);
        QCOMPARE(Files::contentOf(neloChatLogURL()), before);
    }

    void aFullDiskCostsEntriesOnly()
    {
        const SmallDisk disk;
        qputenv("HOME", QFile::encodeName(disk.path()));
        neloChatLogURL(); // makes the folder
        disk.fill();
        neloChatLog(u"dropped"_s);
        QCOMPARE(Files::names(disk.path(u".nelo"_s)), QStringList());
        disk.empty();
        neloChatLog(u"kept"_s);
        QCOMPARE(messageOf(Files::contentOf(neloChatLogURL())), u"kept"_s);
    }

    void characterCountCountsWhatAReaderSees_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qsizetype>("count");
        QTest::newRow("nothing") << QString() << qsizetype(0);
        QTest::newRow("Chinese") << u"您好，nelo"_s << qsizetype(7);
        QTest::newRow("a letter with three marks") << u"e\u0301\u0323\u0308"_s << qsizetype(1);
        QTest::newRow("a family and two flags") << u"👨‍👩‍👧‍👦🇩🇪🇨🇳"_s << qsizetype(3);
        QTest::newRow("a Devanagari visarga") << u"कः"_s << qsizetype(1);
        QTest::newRow("a carriage return with its line feed") << u"a\r\nb"_s << qsizetype(3);
        QTest::newRow("half a surrogate pair") << QString(QChar(0xd83d)) + u'a' << qsizetype(2);
        QTest::newRow("a million letters") << QString(1'000'000, u'x') << qsizetype(1'000'000);
    }

    void characterCountCountsWhatAReaderSees()
    {
        QFETCH(QString, text);
        QTEST(characterCount(text), "count");
    }

    void characterCountAgreesWithUnicodesOwnTest()
    {
        QFile file(QStringLiteral(NELO_GRAPHEME_BREAK_TEST));
        QVERIFY2(file.open(QFile::ReadOnly), "Debian's package unicode-data is not installed");
        int tests = 0;
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.isEmpty() || line.startsWith(u'#'))
                continue;
            const BreakTest test = parse(line);
            QVERIFY2(characterCount(test.text) == test.clusters, qPrintable(line));
            ++tests;
        }
        QVERIFY(tests > 500);
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
