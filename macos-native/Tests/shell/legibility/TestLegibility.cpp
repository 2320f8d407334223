#include "shell/legibility/Gallery.h"
#include "shell/legibility/Legibility.h"
#include "shell/legibility/ShownText.h"
#include "shell/primitives/NeloWindow.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"
#include "support/ThemeStyle.h"
#include "ui/Colors.h"
#include "ui/Labels.h"
#include "ui/LegibleStyle.h"

#include <QApplication>
#include <QDialog>
#include <QScreen>
#include <QScrollBar>

#include <cmath>
#include <functional>
#include <map>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(ColorScheme)

/// Checks that users can read everything which the program shows: with large text, and with light and dark themes.
class TestLegibility final : public TestCase
{
    Q_OBJECT

private slots:
    /// Fails when a run at another scale would only repeat the run at the ordinary scale.
    void initTestCase()
    {
        QCOMPARE(qApp->devicePixelRatio(), qEnvironmentVariable("QT_SCALE_FACTOR", u"1"_s).toDouble());
    }

    void cleanup() override
    {
        QApplication::setFont(m_font);
        QApplication::setStyle(QStringLiteral("fusion"));
        TestCase::cleanup();
    }

    void nothingIsClipped()
    {
        const CaseTable<double> cases{
            {"with text of 10 pixels", 7.5},
            {"with text of 13 pixels", 9.75},
            {"with text of 14.67 pixels, on GNOME", 11},
            // On a screen with less room, windows scroll sideways beyond that.
            {"with text of about twice the size",
             QGuiApplication::primaryScreen()->size().width() < 1366 ? 18 : 2 * ordinaryPoints},
        };
        for (const auto& [points] : cases) {
            setTextSize(points);
            Gallery gallery;
            QCOMPARE(foundIn(gallery,
                             [](const QString& name, QWidget& window) {
                                 QString found = clippedIn(name, window); // windows start at their smallest size
                                 if (!qobject_cast<NeloWindow*>(&window))
                                     return found;
                                 const QSize smallest = window.size();
                                 window.resize(1920, 1080);
                                 Gallery::layOut();
                                 found += clippedIn(name + u", maximised"_s, window);
                                 window.resize(smallest);
                                 return found;
                             }),
                     QString());
        }
    }

    void everyTextScalesByOneFactor()
    {
        setTextSize(ordinaryPoints);
        const std::map<QString, double> ordinary = textSizes();
        for (const double points : {7.5, 9.0, 11.0, 2 * ordinaryPoints}) {
            setTextSize(points);
            std::map<QString, double> scaled = textSizes();
            QString found;
            for (const auto& [text, size] : ordinary) {
                if (std::abs(scaled[text] - size * points / ordinaryPoints) > 0.01)
                    found += u"%1: %2, was %3\n"_s.arg(text, QString::number(scaled[text]), QString::number(size));
            }
            QCOMPARE(found, QString());
        }
    }

    void aReportHasTheSecondaryColorAndDoesNotChangeItsWindow()
    {
        const QStringList reports{u"configPathLabel"_s, u"debugLabel"_s,  u"pathLabel"_s,
                                  u"skillDirsLabel"_s,  u"statusLabel"_s, u"summaryLabel"_s};
        QStringList seen;
        Gallery gallery;
        gallery.showEach([&](const QString& name, QWidget& window) {
            const auto scrollRanges = [&window] {
                QList<int> maxima;
                for (const QScrollBar* bar : window.findChildren<QScrollBar*>())
                    maxima.append(bar->maximum());
                return maxima;
            };
            const QSize size = window.size();
            const QList<int> ranges = scrollRanges();
            for (QWidget* report : window.findChildren<QWidget*>()) {
                if (!reports.contains(report->objectName()) || qobject_cast<WrappingLabel*>(report))
                    continue;
                auto* label = qobject_cast<Label*>(report);
                QVERIFY2(label, qPrintable(name));
                seen.append(label->objectName());
                QCOMPARE(label->palette().color(QPalette::WindowText),
                         Colors::secondaryText(label->parentWidget()->palette()));
                label->setText(QString(5'000, u'W') + QString(500, u'\n') + QString(5'000, u'W'));
            }
            Gallery::layOut();
            QCOMPARE(window.size(), size);
            QCOMPARE(scrollRanges(), ranges);
            QVERIFY2(window.minimumSizeHint().width() <= size.width(), qPrintable(name));
        });
        seen.sort();
        seen.removeDuplicates();
        QCOMPARE(seen, reports);
    }

    void everythingHasEnoughContrast()
    {
        const CaseTable<QPalette, ColorScheme> cases{
            {"under the light theme", QApplication::palette(), ColorScheme::Unknown},
            {"under the dark theme", darkTheme(), ColorScheme::Unknown},
            {"under the light theme, where dark windows are preferred", QApplication::palette(), ColorScheme::Dark},
            {"under the dark theme, where light windows are preferred", darkTheme(), ColorScheme::Light},
        };
        for (const auto& [theme, scheme] : cases) {
            QApplication::setStyle(new ThemeStyle(theme));
            Gallery gallery;
            LegibleStyle::install(scheme);
            QCOMPARE(
                foundIn(gallery,
                        [](const QString& name, QWidget& window) {
                            if (window.focusWidget())
                                window.focusWidget()->clearFocus(); // the cursor may have more contrast than the text
                            return findings(name, Legibility::faintTexts(window) + Legibility::faintSelections(window));
                        }),
                QString());
        }
    }

private:
    /// Returns the colors of a well-known dark desktop. Its theme defines no color for placeholders.
    static QPalette darkTheme()
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

    static QString findings(const QString& name, const QStringList& found)
    {
        return found.isEmpty() ? QString() : name + u":\n  "_s + found.join(u"\n  ") + u'\n';
    }

    static QString clippedIn(const QString& name, QWidget& window)
    {
        return findings(name, Legibility::clippedTexts(window) + Legibility::overlaps(window));
    }

    /// Returns what `find` finds in the windows, tabs and dialogs of `gallery`.
    static QString foundIn(Gallery& gallery, const std::function<QString(const QString& name, QWidget& window)>& find)
    {
        QString found;
        gallery.showEach([&](const QString& name, QWidget& window) { found += find(name, window); });
        return found;
    }

    static constexpr double ordinaryPoints = 9.75; // 13 pixels on a screen of 96 dpi

    static void setTextSize(double points)
    {
        QFont font = QApplication::font();
        font.setPointSizeF(points);
        QApplication::setFont(font);
    }

    /// Returns the sizes in points of all texts of the gallery, by their places.
    static std::map<QString, double> textSizes()
    {
        std::map<QString, double> sizes;
        Gallery gallery;
        gallery.showEach([&sizes](const QString& name, QWidget& window) {
            int index = 0;
            for (const ShownText& text : textsShownBy(window))
                sizes[u"%1: %2 %3"_s.arg(name, QString::number(++index), text.place)] = text.font.pointSizeF();
        });
        return sizes;
    }

    const QFont m_font = QApplication::font();
};

QTEST_MAIN(TestLegibility)
#include "TestLegibility.moc"
