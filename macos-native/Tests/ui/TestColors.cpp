#include "ui/Colors.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"
#include "support/ThemeStyle.h"
#include "ui/LegibleStyle.h"

#include <QApplication>
#include <QDialog>
#include <QLineEdit>

using namespace Qt::StringLiterals;

constexpr double enough = 4.5;

/// Colors that can be told apart.
class TestColors final : public TestCase
{
    Q_OBJECT

private slots:
    void cleanup() override
    {
        QApplication::setStyle(u"fusion"_s);
        TestCase::cleanup();
    }

    void contrastIsComputedAsTheStandardSays()
    {
        const CaseTable<QColor, QColor, double> cases{
            {"black on white", QColor(Qt::black), QColor(Qt::white), 21.0},
            {"white on black", QColor(Qt::white), QColor(Qt::black), 21.0},
            {"a color on itself", QColor(10, 200, 30), QColor(10, 200, 30), 1.0},
            {"the lightest grey that passes on white", QColor(0x76, 0x76, 0x76), QColor(Qt::white), 4.54},
            {"the first that does not", QColor(0x77, 0x77, 0x77), QColor(Qt::white), 4.48},
            {"pure red on white", QColor(Qt::red), QColor(Qt::white), 4.00},
            {"pure green on white", QColor(Qt::green), QColor(Qt::white), 1.37},
            {"pure blue on white", QColor(Qt::blue), QColor(Qt::white), 8.59},
        };
        for (const auto& [one, other, contrast] : cases)
            QVERIFY2(qAbs(Colors::contrast(one, other) - contrast) < 0.005,
                     qPrintable(QString::number(Colors::contrast(one, other))));
    }

    void lightAppearanceIsTheSameUnderEveryTheme()
    {
        const QPalette before = QApplication::palette();
        QApplication::setPalette(QPalette(QColor(49, 54, 59)));
        const QPalette palette = Colors::lightAppearance(Colors::white(0.97));
        QApplication::setPalette(before);
        QCOMPARE(palette, Colors::lightAppearance(Colors::white(0.97)));
    }

    void theAppearancesHaveTheirColors()
    {
        const CaseTable<QPalette, QString> cases{
            {"light", Colors::lightAppearance(Colors::white(0.97)),
             u"f7f7f7 1a1a1a 1a1a1a f0f0f0 1a1a1a ffffff f5f5f5 0057ae 3068c6 ffffff 676767"_s},
            {"dark", Colors::inScheme(QPalette(Qt::white), ColorScheme::Dark),
             u"292929 f5f5f5 f5f5f5 383838 f5f5f5 1c1c1c 242424 78aeed 3068c6 ffffff adadad"_s},
        };
        for (const auto& [palette, colors] : cases) {
            for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
                QStringList found;
                for (const auto role : {QPalette::Window, QPalette::WindowText, QPalette::Text, QPalette::Button,
                                        QPalette::ButtonText, QPalette::Base, QPalette::AlternateBase, QPalette::Link,
                                        QPalette::Highlight, QPalette::HighlightedText, QPalette::PlaceholderText})
                    found.append(palette.color(group, role).name().sliced(1));
                QCOMPARE(found.join(u' '), colors);
            }
        }
    }

    void onlyAThemeOfTheOtherSchemeIsReplaced()
    {
        const QPalette light(QColor(239, 239, 239));
        const QPalette dark(QColor(49, 54, 59), QColor(42, 46, 50));
        QCOMPARE(Colors::inScheme(light, ColorScheme::Unknown), light);
        QCOMPARE(Colors::inScheme(light, ColorScheme::Light), light);
        QVERIFY(Colors::isDark(Colors::inScheme(light, ColorScheme::Dark)));
        QCOMPARE(Colors::inScheme(dark, ColorScheme::Unknown), dark);
        QCOMPARE(Colors::inScheme(dark, ColorScheme::Dark), dark);
        QVERIFY(!Colors::isDark(Colors::inScheme(dark, ColorScheme::Light)));
    }

    void secondaryTextIsLegibleAndOfLessWeight()
    {
        const CaseTable<QPalette> cases{
            {"on the card of the chat", Colors::lightAppearance(Colors::white(0.97))},
            {"on the composer, the darkest of the light panels", Colors::lightAppearance(Colors::white(0.91))},
            {"on a usual light window", QPalette(QColor(239, 239, 239))},
            {"on a dark window", QPalette(QColor(49, 54, 59), QColor(42, 46, 50))},
            {"on a black window", QPalette(Qt::black)},
        };
        for (const auto& [palette] : cases) {
            const QColor window = palette.color(QPalette::Window);
            const double contrast = Colors::contrast(Colors::secondaryText(palette), window);
            QVERIFY(contrast >= enough);
            QVERIFY(contrast < Colors::contrast(palette.color(QPalette::WindowText), window));
        }
        QCOMPARE(Colors::secondaryText(QPalette(Qt::black)).lightness(), qRound(0.65 * 255)); // white text on black
    }

    void placeholdersAreMadeLegible()
    {
        const CaseTable<QPalette> cases{
            {"half transparent, as Qt has it", theme(Qt::black, Qt::white, QColor(0, 0, 0, 128))},
            {"black in a dark theme", theme(QColor(252, 252, 252), QColor(27, 30, 32), QColor(0, 0, 0, 128))},
            {"as the background", theme(Qt::white, Qt::black, Qt::black)},
            {"wholly transparent", theme(Qt::black, Qt::white, QColor(0, 0, 0, 0))},
        };
        for (const auto& [theme] : cases) {
            const QPalette mended = Colors::legible(theme);
            for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
                QVERIFY(placeholderContrast(theme, group) < enough);
                QVERIFY(placeholderContrast(mended, group) >= enough);
                QVERIFY(mended.color(group, QPalette::PlaceholderText) != mended.color(group, QPalette::Text));
            }
        }
    }

    void separatorsAreMadeVisible()
    {
        const CaseTable<QPalette> cases{
            {"on Qt's own light window", QPalette(QColor(239, 239, 239))},
            {"on a dark window", QPalette(QColor(49, 54, 59), QColor(42, 46, 50))},
            {"where dark windows are preferred", Colors::inScheme(QPalette(QColor(239, 239, 239)), ColorScheme::Dark)},
            {"where light windows are preferred", Colors::inScheme(QPalette(Qt::black), ColorScheme::Light)},
        };
        for (const auto& [theme] : cases) {
            const QPalette mended = Colors::legible(theme);
            for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
                const QColor window = mended.color(group, QPalette::Window);
                const double contrast = Colors::contrast(mended.color(group, QPalette::Mid), window);
                QVERIFY(contrast >= 3);
                QVERIFY(contrast < Colors::contrast(Colors::secondaryText(mended), window));
            }
        }
    }

    void selectedTextIsMadeLegible()
    {
        const CaseTable<QColor, QColor, QColor> cases{
            {"white on Qt's own blue", QColor(48, 140, 198), QColor(Qt::white), QColor(Qt::black)},
            {"white on a light blue", QColor(61, 174, 233), QColor(252, 252, 252), QColor(Qt::black)},
            {"black on a dark blue", QColor(20, 40, 120), QColor(Qt::black), QColor(Qt::white)},
            {"white on white", QColor(Qt::white), QColor(Qt::white), QColor(Qt::black)},
        };
        for (const auto& [highlight, text, mended] : cases) {
            QPalette palette;
            palette.setColor(QPalette::Highlight, highlight);
            palette.setColor(QPalette::HighlightedText, text);
            QCOMPARE(Colors::legible(palette).color(QPalette::Active, QPalette::HighlightedText), mended);
            QCOMPARE(Colors::legible(palette).color(QPalette::Inactive, QPalette::HighlightedText), mended);
            QCOMPARE(Colors::legible(palette).color(QPalette::Highlight), highlight);
            QVERIFY(Colors::contrast(mended, highlight) >= enough);
        }
    }

    void legibleColorsAreNotChanged()
    {
        const QPalette palette = Colors::lightAppearance(Colors::white(0.97));
        QCOMPARE(Colors::legible(palette), palette);
        const QPalette mended = Colors::legible(theme(Qt::white, Qt::black, Qt::black));
        QCOMPARE(Colors::legible(mended), mended);
        const QPalette barely = theme(Qt::black, Qt::white, QColor(0x76, 0x76, 0x76));
        QCOMPARE(Colors::legible(barely).color(QPalette::PlaceholderText), QColor(0x76, 0x76, 0x76));
        QCOMPARE(mended.color(QPalette::Disabled, QPalette::PlaceholderText), QColor(Qt::black)); // disabled texts, too
        QPalette tinted = palette; // a changed text would be black or white
        tinted.setColor(QPalette::HighlightedText, QColor(255, 250, 220));
        QCOMPARE(Colors::legible(tinted), tinted);
    }

    void theApplicationFollowsItsTheme()
    {
        QApplication::setStyle(new ThemeStyle(theme(Qt::white, Qt::black, Qt::black)));
        LegibleStyle::install();
        const QStyle* const style = QApplication::style();
        LegibleStyle::install();
        QCOMPARE(QApplication::style(), style);
        const QLineEdit field;
        QCOMPARE(field.palette().color(QPalette::Base), QColor(Qt::black));
        QVERIFY(placeholderContrast(field.palette(), QPalette::Active) >= enough);
    }

    /// Styles keep pictures of controls for each palette, so that many palettes would need much memory.
    void windowsShareOnePalette()
    {
        QApplication::setStyle(new ThemeStyle(theme(Qt::white, Qt::black, Qt::black)));
        LegibleStyle::install();
        LegibleStyle::install(ColorScheme::Light);
        QWidget parent;
        QDialog first(&parent);
        QDialog second(&parent);
        first.show();
        second.show();
        QCOMPARE(second.palette().cacheKey(), first.palette().cacheKey());
    }

private:
    /// Returns the color of translucent `text` on `background`.
    static QColor on(const QColor& background, const QColor& text)
    {
        const auto channel = [&text](float over, float under) {
            return over * text.alphaF() + under * (1 - text.alphaF());
        };
        return QColor::fromRgbF(channel(text.redF(), background.redF()), channel(text.greenF(), background.greenF()),
                                channel(text.blueF(), background.blueF()));
    }

    static double placeholderContrast(const QPalette& palette, QPalette::ColorGroup group)
    {
        const QColor base = palette.color(group, QPalette::Base);
        return Colors::contrast(on(base, palette.color(group, QPalette::PlaceholderText)), base);
    }

    static QPalette theme(const QColor& text, const QColor& base, const QColor& placeholder)
    {
        QPalette palette;
        palette.setColor(QPalette::Text, text);
        palette.setColor(QPalette::Base, base);
        palette.setColor(QPalette::PlaceholderText, placeholder);
        return palette;
    }
};

QTEST_MAIN(TestColors)
#include "TestColors.moc"
