#include "ui/LegibleStyle.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"
#include "support/ThemeStyle.h"

#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

/// The icon theme for a light or a dark background.
class TestLegibleStyle final : public TestCase
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

    void cleanup() override
    {
        QIcon::setThemeName({});
        QApplication::setStyle(u"fusion"_s);
        TestCase::cleanup();
    }

    void theOtherOneOfAPairIsChosen()
    {
        const CaseTable<QString, bool, QString> cases{
            {"the dark one on dark", u"breeze"_s, true, u"breeze-dark"_s},
            {"the light one on light", u"breeze-dark"_s, false, u"breeze"_s},
            {"the name may have a capital", u"Papirus"_s, true, u"Papirus-Dark"_s},
            {"also on the way back", u"Papirus-Dark"_s, false, u"Papirus"_s},
            {"one that fits stays on dark", u"breeze-dark"_s, true, u"breeze-dark"_s},
            {"one that fits stays on light", u"breeze"_s, false, u"breeze"_s},
            {"one without a dark one stays", u"lonely"_s, true, u"lonely"_s},
            {"one without a light one stays", u"gone-dark"_s, false, u"gone-dark"_s},
            {"no theme stays none", {}, true, {}},
        };
        for (const auto& [name, isDark, chosen] : cases)
            QCOMPARE(iconThemeFor(name, isDark), chosen);
    }

    void theStyleChoosesTheOneForItsPalette()
    {
        const CaseTable<QPalette, QString> cases{
            {"a dark one", QPalette(Qt::black, QColor(42, 46, 50)), u"breeze-dark"_s},
            {"a light one", QPalette(Qt::white, QColor(239, 240, 241)), u"breeze"_s},
        };
        for (const auto& [palette, chosen] : cases) {
            QIcon::setThemeName(u"breeze"_s);
            QApplication::setStyle(new ThemeStyle(palette));
            LegibleStyle::install();
            QCOMPARE(QIcon::themeName(), chosen);
        }
    }

private:
    QTemporaryDir m_folder;
};

QTEST_MAIN(TestLegibleStyle)
#include "TestLegibleStyle.moc"
