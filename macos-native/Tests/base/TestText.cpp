#include "base/AtomicFile.h"
#include "base/Text.h"

#include "support/Files.h"
#include "support/Warnings.h"

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <sys/stat.h>

/// Text from bytes and from times, and reading whole files.
class TestText final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void onlyUtf8IsDecoded()
    {
        QCOMPARE(decodeUtf8("\xef\xbb\xbf\xe4\xbd\xa0"), QStringLiteral("\ufeff你"));
        QCOMPARE(decodeUtf8(""), QString());
        for (const char* bytes : {"\xff", "a\xe4\xbd", "\xed\xa0\x80", "\xc0\xaf"}) // the last two only look like it
            QCOMPARE(decodeUtf8(bytes), std::nullopt);
    }

    void timesAreWrittenInWholeSeconds()
    {
        const QDateTime time({2025, 1, 31}, {9, 5, 7, 999}, QTimeZone(3600));
        QCOMPARE(compactTimestamp(time), QStringLiteral("20250131-090507"));
        QCOMPARE(isoTimestamp(time), QStringLiteral("2025-01-31T08:05:07Z"));
    }

    void onlyRegularFilesAreRead()
    {
        const QTemporaryDir folder;
        Files::create(folder.filePath(QStringLiteral("file")), QByteArray("a\0\xff", 3));
        QVERIFY(QFile::link(folder.filePath(QStringLiteral("file")), folder.filePath(QStringLiteral("link"))));
        QCOMPARE(mkfifo(QFile::encodeName(folder.filePath(QStringLiteral("pipe"))).constData(), 0600), 0);
        QCOMPARE(readFile(folder.filePath(QStringLiteral("file"))), QByteArray("a\0\xff", 3));
        QCOMPARE(readFile(folder.filePath(QStringLiteral("link"))), QByteArray("a\0\xff", 3));
        for (const QString& path :
             {folder.path(), folder.filePath(QStringLiteral("pipe")), folder.filePath(u"none"_qs)})
            QCOMPARE(readFile(path), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(TestText)
#include "TestText.moc"
