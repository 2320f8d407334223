#include "chat/core/ChatLog.h"

#include "chat/StoredMessages.h"
#include "support/TestCase.h"
#include "support/TestHome.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

/// Returns a line of the log without its time. The text is null when the line or its time is wrong.
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
class TestChatLog final : public TestCase
{
    Q_OBJECT

private slots:
    void theFirstEntryMakesAPrivateFileInItsFolder()
    {
        QCOMPARE(neloChatLogURL(), m_home->path(u".nelo/menubar_chat.log"_s));
        QVERIFY(QDir(m_home->path()).rmdir(u".nelo"_s));
        const mode_t before = umask(0);
        neloChatLog(u"one"_s);
        const int mode = Files::mode(neloChatLogURL());
        umask(before);
        QCOMPARE(mode, 0600);
        QCOMPARE(Files::names(m_home->path(u".nelo"_s)), QStringList{u"menubar_chat.log"_s});
        neloChatLog(u"two"_s);
        QFile log(neloChatLogURL());
        QVERIFY(log.open(QFile::ReadOnly));
        QCOMPARE(messageOf(log.readLine()), u"one"_s);
        QCOMPARE(messageOf(log.readLine()), u"two"_s);
        QVERIFY(log.atEnd());
    }

    void anEntryIsWrittenAsItIs()
    {
        for (const QString& message : {u"HTTP 500\n<html>\n</html>"_s, u"你好 👋"_s, u"a"_s + QChar(0) + u"b"_s,
                                       u"%1 %s %n"_s, QString(2'000'000, u'x')}) {
            neloChatLog(message);
            QCOMPARE(messageOf(Files::contentOf(neloChatLogURL())), message);
            QVERIFY(QFile::remove(neloChatLogURL())); // the next entry makes it again
        }
    }

    void aLogThatIsThereOnlyGrows()
    {
        Files::create(neloChatLogURL(), "a line without a line feed");
        QCOMPARE(chmod(QFile::encodeName(neloChatLogURL()).constData(), 0644), 0);
        neloChatLog(u"one"_s);
        QVERIFY(Files::contentOf(neloChatLogURL()).startsWith("a line without a line feed["));
        QCOMPARE(Files::mode(neloChatLogURL()), 0644);
    }

    void anEntryThatCannotBeWrittenIsDropped()
    {
        for (const FileObstacle obstacle : {FileObstacle::Folder, FileObstacle::Pipe, FileObstacle::FileAsFolder}) {
            const TestHome home;
            obstruct(neloChatLogURL(), obstacle);
            const QStringList before = Files::names(home.path());
            neloChatLog(u"one"_s);
            QCOMPARE(Files::names(home.path()), before);
            QVERIFY(!QFileInfo(neloChatLogURL()).isFile());
        }
    }

    void characterCountCountsWhatAReaderSees()
    {
        QCOMPARE(characterCount(QString()), 0);
        QCOMPARE(characterCount(u"您好，nelo"_s), 7);
        QCOMPARE(characterCount(QString(QChar(0xd83d)) + u'a'), 2);
        QCOMPARE(characterCount(QString(1'000'000, u'x')), 1'000'000);
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
    Fresh<TestHome> m_home{this};
};

QTEST_GUILESS_MAIN(TestChatLog)
#include "TestChatLog.moc"
