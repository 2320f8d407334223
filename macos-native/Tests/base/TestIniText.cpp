#include "base/IniText.h"

#include "support/CaseTable.h"
#include "support/Files.h"
#include "support/TestCase.h"

#include <QSettings>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

/// Values in the text of a settings file.
class TestIniText final : public TestCase
{
    Q_OBJECT

private slots:
    void theRestOfTheFileStays()
    {
        const CaseTable<QByteArray, QByteArray> cases{
            {"an empty file", {}, "[General]\nkey=new\n"},
            {"the value is replaced", "[General]\nkey=old\nz=1\n", "[General]\nkey=new\nz=1\n"},
            {"a value that is there twice is there once", "[General]\nkey=old\na=1\nkey = older\n",
             "[General]\nkey=new\na=1\n"},
            {"names that only begin or end alike are others", "[General]\nkey2=1\nmy key=2\nKEY=3\n",
             "[General]\nkey=new\nkey2=1\nmy key=2\nKEY=3\n"},
            {"the same name in a group is another", "[group]\nkey=other\n", "[General]\nkey=new\n[group]\nkey=other\n"},
            {"the value is found after a group", "[group]\na=1\n[general]\nkey=old\nb=2\n",
             "[General]\nkey=new\n[group]\na=1\n[general]\nb=2\n"},
            {"the value is found before any group", "key=old\na=1\n", "[General]\nkey=new\na=1\n"},
            {"comments, bytes of any kind and a missing line end stay", "; mine\n[General]\r\n\xff=\xfe\nlast",
             "[General]\nkey=new\n; mine\n[General]\r\n\xff=\xfe\nlast"},
        };
        for (const auto& [before, after] : cases) {
            QCOMPARE(withIniValues(before, {{"key", u"new"_s}}), after);
            QCOMPARE(valueIn(after), u"new"_s);
            QCOMPARE(iniValue(after, "key"), u"new"_s);
        }
    }

    void everyCharacterIsReadAsItWasWritten()
    {
        QString all;
        for (char16_t unit = 0; unit < 0x250; ++unit)
            all += QChar(unit) + u"a"_s + QChar(unit); // also before a hexadecimal digit, and twice
        all += u"你好🔑"_s;
        for (const QString& text : {all, u'@' + all, u' ' + all + u' ', u"@"_s, u"@@"_s, u"@Invalid()"_s, QString()}) {
            const QByteArray ini = withIniValues("[General]\nnext=1\n", {{"key", text}});
            QCOMPARE(valueIn(ini), text);
            QCOMPARE(iniValue(ini, "key"), text);
        }
        const QString withoutZero = all.sliced(3); // QSettings writes a zero character in another way
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"settings.conf"_s);
        QSettings(path, QSettings::IniFormat).setValue(u"key"_s, withoutZero);
        QCOMPARE(iniValue(Files::contentOf(path), "key"), withoutZero);
    }

    void aValueIsReadAsQSettingsReadsIt()
    {
        const CaseTable<QByteArray> cases{
            {"typed by hand", "key = sk-a b \r\n"},
            {"typed in Chinese", "key=密钥🔑"},
            {"with an equals sign", "key=a=="},
            {"with escapes", "key=\"\\\"q\\\" \\x41g \\101g \\t\\\\ \\?\\'\""},
            {"with escapes beyond 16 bits", "key=\\x12345 \\1234567"},
            {"twice", "key=old\nother=1\nkey=new\n"},
            {"in a group and after it", "[group]\nkey=other\n[General]\nkey=mine\n"},
            {"only in a group", "[group]\nkey=other\n"},
            {"behind a comment's sign", ";key=old\n"},
            {"no value", "key=\nkeys=1\n"},
            {"of another type", "key=@Invalid()\n"},
            {"no file", {}},
        };
        for (const auto& [ini] : cases)
            QCOMPARE(iniValue(ini, "key"), valueIn(ini));
    }

    void aPlainValueIsWrittenWithoutEscapes()
    {
        QCOMPARE(withIniValues({}, {{"key", u"sk-proj-A_1.2+/z"_s}}), QByteArray("[General]\nkey=sk-proj-A_1.2+/z\n"));
        QCOMPARE(withIniValues({}, {{"key", u"two words = \"é\"b"_s}}),
                 QByteArray("[General]\nkey=\"two words \\x3d \\x22\\xe9\\x22\\x62\"\n"));
    }

private:
    /// Returns the value of "key" that `QSettings` reads.
    static QString valueIn(const QByteArray& ini)
    {
        const QTemporaryDir folder;
        Files::create(folder.filePath(u"settings.conf"_s), ini);
        return QSettings(folder.filePath(u"settings.conf"_s), QSettings::IniFormat).value(u"key"_s).toString();
    }
};

QTEST_GUILESS_MAIN(TestIniText)
#include "TestIniText.moc"
