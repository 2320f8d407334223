#include "shell/legibility/Gallery.h"
#include "shell/legibility/Legibility.h"
#include "shell/primitives/NeloWindow.h"
#include "support/ThemeStyle.h"
#include "support/Warnings.h"

#include <QApplication>
#include <QDialog>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// The colours of a well-known dark desktop, whose theme says nothing of placeholders.
QPalette darkTheme()
{
    const QColor text(252, 252, 252);
    QPalette palette(QColor(49, 54, 59), QColor(42, 46, 50));
    palette.setColor(QPalette::Base, QColor(27, 30, 32));
    palette.setColor(QPalette::AlternateBase, QColor(35, 38, 41));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Active, role, text);
        palette.setColor(QPalette::Inactive, role, text);
    }
    palette.setColor(QPalette::Highlight, QColor(61, 174, 233));
    palette.setColor(QPalette::HighlightedText, text);
    palette.setColor(QPalette::Link, QColor(29, 153, 243));
    palette.setColor(QPalette::PlaceholderText, QColor(0, 0, 0, 128));
    return palette;
}

QString findings(const QString& name, const QStringList& found)
{
    return found.isEmpty() ? QString() : name + u":\n  "_s + found.join(u"\n  ") + u'\n';
}

QString clippedIn(const QString& name, QWidget& window)
{
    return findings(name, Legibility::clippedTexts(window) + Legibility::overlaps(window));
}

} // namespace

/// That everything the program shows can be read: by users whose text is large, and under light and dark themes.
class TestLegibility final : public QObject
{
    Q_OBJECT

private slots:
    /// Runs at another scale must not be those at the ordinary one again.
    void initTestCase()
    {
        QCOMPARE(qApp->devicePixelRatio(), qEnvironmentVariable("QT_SCALE_FACTOR", u"1"_s).toDouble());
    }

    void init()
    {
        failOnUnexpectedWarning();
        m_fontBefore = QApplication::font();
    }

    void cleanup()
    {
        QApplication::setFont(m_fontBefore);
        QApplication::setStyle(QStringLiteral("fusion"));
    }

    void nothingIsClipped_data()
    {
        QTest::addColumn<double>("textSize");
        QTest::newRow("at the ordinary text size") << 1.0;
        QTest::newRow("at twice the text size") << 2.0;
    }

    void nothingIsClipped()
    {
        QFETCH(double, textSize);
        QFont font = m_fontBefore;
        font.setPointSizeF(font.pointSizeF() * textSize);
        QApplication::setFont(font);
        Gallery gallery;
        QString found;
        for (const QString& name : Gallery::names()) {
            const bool isSeen = gallery.show(name, [&found, &name](QWidget& window) {
                found += clippedIn(name, window); // windows start at their smallest size
                if (!qobject_cast<NeloWindow*>(&window))
                    return;
                const QSize smallest = window.size();
                window.resize(1920, 1080);
                Gallery::layOut();
                found += clippedIn(name + u", maximised"_s, window);
                window.resize(smallest);
            });
            QVERIFY2(isSeen, qPrintable(name));
        }
        QCOMPARE(found, QString());
    }

    void nothingIsFaint_data()
    {
        QTest::addColumn<QPalette>("theme");
        QTest::newRow("under the light theme") << QApplication::palette();
        QTest::newRow("under the dark theme") << darkTheme();
    }

    void nothingIsFaint()
    {
        QFETCH(QPalette, theme);
        QApplication::setStyle(new ThemeStyle(theme));
        Gallery gallery;
        QString found;
        for (const QString& name : Gallery::names()) {
            const bool isSeen = gallery.show(name, [&found, &name](QWidget& window) {
                if (window.focusWidget())
                    window.focusWidget()->clearFocus(); // a cursor would stand out where the text does not
                found += findings(name, Legibility::faintTexts(window) + Legibility::faintSelections(window));
            });
            QVERIFY2(isSeen, qPrintable(name));
        }
        QCOMPARE(found, QString());
    }

private:
    QFont m_fontBefore;
};

QTEST_MAIN(TestLegibility)
#include "TestLegibility.moc"
