#include "base/IniText.h"

#include "support/Files.h"
#include "support/Warnings.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

namespace {

/// What a program that reads the text as settings finds under `key`.
QString valueIn(const QByteArray& ini, const QString& key)
{
    const QTemporaryDir folder;
    Files::create(folder.filePath(QStringLiteral("settings.conf")), ini);
    return QSettings(folder.filePath(QStringLiteral("settings.conf")), QSettings::IniFormat).value(key).toString();
}

QByteArray writtenByQSettings(const QString& text)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("settings.conf"));
    QSettings(path, QSettings::IniFormat).setValue(QStringLiteral("key"), text);
    return Files::contentOf(path);
}

} // namespace

/// Values in the text of a settings file.
class TestIniText final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void theRestOfTheFileStays_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        QTest::newRow("an empty file") << QByteArray() << QByteArray("[General]\nkey=new\n");
        QTest::newRow("the value is replaced")
            << QByteArray("[General]\nkey=old\nz=1\n") << QByteArray("[General]\nkey=new\nz=1\n");
        QTest::newRow("a value that is there twice is there once")
            << QByteArray("[General]\nkey=old\na=1\nkey = older\n") << QByteArray("[General]\nkey=new\na=1\n");
        QTest::newRow("names that only begin or end alike are others")
            << QByteArray("[General]\nkey2=1\nmy key=2\nKEY=3\n")
            << QByteArray("[General]\nkey=new\nkey2=1\nmy key=2\nKEY=3\n");
        QTest::newRow("the same name in a group is another")
            << QByteArray("[group]\nkey=other\n") << QByteArray("[General]\nkey=new\n[group]\nkey=other\n");
        QTest::newRow("the value is found after a group")
            << QByteArray("[group]\na=1\n[general]\nkey=old\nb=2\n")
            << QByteArray("[General]\nkey=new\n[group]\na=1\n[general]\nb=2\n");
        QTest::newRow("the value is found before any group")
            << QByteArray("key=old\na=1\n") << QByteArray("[General]\nkey=new\na=1\n");
        QTest::newRow("comments, bytes of any kind and a missing line end stay")
            << QByteArray("; mine\n[General]\r\n\xff=\xfe\nlast")
            << QByteArray("[General]\nkey=new\n; mine\n[General]\r\n\xff=\xfe\nlast");
    }

    void theRestOfTheFileStays()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        QCOMPARE(withIniValues(before, {{"key", QStringLiteral("new")}}), after);
        QCOMPARE(valueIn(after, QStringLiteral("key")), QStringLiteral("new"));
        QCOMPARE(iniValue(after, "key"), QStringLiteral("new"));
    }

    void everyCharacterIsReadAsItWasWritten()
    {
        QString all;
        for (char16_t unit = 0; unit < 0x250; ++unit)
            all += QChar(unit) + QStringLiteral("a") + QChar(unit); // also before a digit of the escape, and twice
        all += QStringLiteral("你好🔑");
        for (const QString& text : {all, u'@' + all, u' ' + all + u' ', QStringLiteral("@"), QStringLiteral("@@"),
                                    QStringLiteral("@Invalid()"), QString()}) {
            const QByteArray ini = withIniValues("[General]\nnext=1\n", {{"key", text}});
            QCOMPARE(valueIn(ini, QStringLiteral("key")), text);
            QCOMPARE(iniValue(ini, "key"), text);
        }
        QCOMPARE(iniValue(writtenByQSettings(all.sliced(3)), "key"),
                 all.sliced(3)); // which writes a zero in another way
    }

    void aValueIsReadAsQSettingsReadsIt_data()
    {
        QTest::addColumn<QByteArray>("ini");
        QTest::newRow("typed by hand") << QByteArray("key = sk-a b \r\n");
        QTest::newRow("typed in Chinese") << QByteArray("key=密钥🔑");
        QTest::newRow("with an equals sign") << QByteArray("key=a==");
        QTest::newRow("with escapes") << QByteArray("key=\"\\\"q\\\" \\x41g \\101g \\t\\\\ \\?\\'\"");
        QTest::newRow("with escapes beyond 16 bits") << QByteArray("key=\\x12345 \\1234567");
        QTest::newRow("twice") << QByteArray("key=old\nother=1\nkey=new\n");
        QTest::newRow("in a group and after it") << QByteArray("[group]\nkey=other\n[General]\nkey=mine\n");
        QTest::newRow("only in a group") << QByteArray("[group]\nkey=other\n");
        QTest::newRow("behind a comment's sign") << QByteArray(";key=old\n");
        QTest::newRow("no value") << QByteArray("key=\nkeys=1\n");
        QTest::newRow("of another type") << QByteArray("key=@Invalid()\n");
        QTest::newRow("no file") << QByteArray();
    }

    void aValueIsReadAsQSettingsReadsIt()
    {
        QFETCH(QByteArray, ini);
        QCOMPARE(iniValue(ini, "key"), valueIn(ini, QStringLiteral("key")));
    }

    void theFileStaysTextThatAnyoneCanRead()
    {
        QCOMPARE(withIniValues({}, {{"key", QStringLiteral("sk-proj-A_1.2+/z")}}),
                 QByteArray("[General]\nkey=sk-proj-A_1.2+/z\n"));
        QCOMPARE(withIniValues({}, {{"key", QStringLiteral("two words = \"é\"b")}}),
                 QByteArray("[General]\nkey=\"two words \\x3d \\x22\\xe9\\x22\\x62\"\n"));
    }
};

QTEST_GUILESS_MAIN(TestIniText)
#include "TestIniText.moc"
