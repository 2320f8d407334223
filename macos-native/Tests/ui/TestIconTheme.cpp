#include "ui/IconTheme.h"

#include "support/Cases.h"
#include "support/ThemeStyle.h"
#include "support/Warnings.h"
#include "ui/LegibleStyle.h"

#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

/// Icons that are seen on what they stand on.
class TestIconTheme final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        for (const QString& name : {u"breeze"_s, u"breeze-dark"_s, u"Papirus"_s, u"Papirus-Dark"_s, u"lonely"_s}) {
            QVERIFY(QDir(m_folder.path()).mkdir(name));
            QVERIFY(QFile(m_folder.filePath(name + u"/index.theme"_s)).open(QFile::WriteOnly));
        }
        QIcon::setThemeSearchPaths({m_folder.filePath(u"missing"_s), m_folder.path()});
    }

    void init() { failOnUnexpectedWarning(); }

    void cleanup()
    {
        QIcon::setThemeName({});
        QApplication::setStyle(u"fusion"_s);
    }

    void theOtherOneOfAPairIsTaken_data()
    {
        const Cases<QString, bool, QString> add("name", "isDark", "taken");
        add("the dark one on dark", u"breeze"_s, true, u"breeze-dark"_s);
        add("the light one on light", u"breeze-dark"_s, false, u"breeze"_s);
        add("the name may have a capital", u"Papirus"_s, true, u"Papirus-Dark"_s);
        add("also on the way back", u"Papirus-Dark"_s, false, u"Papirus"_s);
        add("one that fits stays on dark", u"breeze-dark"_s, true, u"breeze-dark"_s);
        add("one that fits stays on light", u"breeze"_s, false, u"breeze"_s);
        add("one without a dark one stays", u"lonely"_s, true, u"lonely"_s);
        add("one without a light one stays", u"gone-dark"_s, false, u"gone-dark"_s);
        add("no theme stays none", {}, true, {});
    }

    void theOtherOneOfAPairIsTaken()
    {
        QFETCH(QString, name);
        QFETCH(bool, isDark);
        QTEST(iconThemeFor(name, isDark), "taken");
    }

    void theStyleTakesTheOneForItsPalette_data()
    {
        const Cases<QPalette, QString> add("palette", "taken");
        add("a dark one", QPalette(Qt::black, QColor(42, 46, 50)), u"breeze-dark"_s);
        add("a light one", QPalette(Qt::white, QColor(239, 240, 241)), u"breeze"_s);
    }

    void theStyleTakesTheOneForItsPalette()
    {
        QFETCH(QPalette, palette);
        QIcon::setThemeName(u"breeze"_s);
        QApplication::setStyle(new ThemeStyle(palette));
        LegibleStyle::install();
        QTEST(QIcon::themeName(), "taken");
    }

private:
    QTemporaryDir m_folder;
};

QTEST_MAIN(TestIconTheme)
#include "TestIconTheme.moc"
