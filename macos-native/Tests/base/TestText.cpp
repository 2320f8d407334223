#include "base/AtomicFile.h"
#include "base/Text.h"

#include "support/Files.h"
#include "support/OrdinaryUser.h"
#include "support/TestCase.h"

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>
#include <QTimeZone>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

/// Text from bytes and from times, and reading whole files.
class TestText final : public TestCase
{
    Q_OBJECT

private slots:
    void onlyUtf8IsDecoded()
    {
        QCOMPARE(decodeUtf8("\xef\xbb\xbf\xe4\xbd\xa0"), u"\ufeff你"_s);
        QCOMPARE(decodeUtf8(""), QString());
        for (const char* bytes :
             {"\xff", "a\xe4\xbd", "\xed\xa0\x80", "\xc0\xaf"}) // the last two: a surrogate, and an overlong form
            QCOMPARE(decodeUtf8(bytes), std::nullopt);
    }

    void timesAreWrittenInWholeSeconds()
    {
        const QDateTime time({2025, 1, 31}, {9, 5, 7, 999}, QTimeZone(3600));
        QCOMPARE(compactTimestamp(time), u"20250131-090507"_s);
        QCOMPARE(isoTimestamp(time), u"2025-01-31T08:05:07Z"_s);
    }

    void onlyRegularFilesAreRead()
    {
        const QTemporaryDir folder;
        const auto path = [&folder](const char* name) { return folder.filePath(QString::fromLatin1(name)); };
        const QByteArray bytes("a\0\xff", 3);
        Files::create(path("file"), bytes);
        QVERIFY(QFile::link(path("file"), path("link")));
        QCOMPARE(readFile(path("file")), bytes);
        QCOMPARE(readFile(path("link")), bytes);
        Files::create(path("empty"), "");
        QCOMPARE(readFile(path("empty")), QByteArray());

        QCOMPARE(mkfifo(QFile::encodeName(path("pipe")).constData(), 0600), 0);
        Files::create(path("unreadable"), "secret");
        QVERIFY(QFile::setPermissions(path("unreadable"), {}));
        QVERIFY(QFile::link(path("circle"), path("circle")));
        QVERIFY(
            QFile::link(u"/proc/self/mem"_s, path("breaks off"))); // the read fails: no memory is at the address zero
        const OrdinaryUser user;
        for (const char* name : {"", "pipe", "none", "none/none", "unreadable", "circle", "breaks off"})
            QVERIFY2(!readFile(path(name)), name);
    }
};

QTEST_GUILESS_MAIN(TestText)
#include "TestText.moc"
