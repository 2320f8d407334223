#include "ui/Labels.h"

#include "support/Slowness.h"
#include "support/Warnings.h"
#include "ui/Colors.h"

#include <QHelpEvent>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>

#include <cmath>

namespace {

/// The contrast ratio of WCAG 2.1, 1.4.3.
double contrast(const QColor& one, const QColor& other)
{
    const auto luminance = [](const QColor& color) {
        const auto linear = [](double channel) {
            return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
    };
    const double a = luminance(one);
    const double b = luminance(other);
    return (qMax(a, b) + 0.05) / (qMin(a, b) + 0.05);
}

QPalette paletteOf(const QColor& text, const QColor& window)
{
    QPalette palette;
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Window, window);
    return palette;
}

} // namespace

/// Labels and the colours of their text.
class TestLabels final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void foreignTextStaysPlain_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("markup") << QStringLiteral("<b>bold</b><img src='x'>");
        QTest::newRow("an entity") << QStringLiteral("a &amp; b");
        QTest::newRow("an ampersand") << QStringLiteral("Save && Quit &now");
    }

    void foreignTextStaysPlain()
    {
        QFETCH(QString, text);
        Label line(text);
        const WrappingLabel paragraph(text);
        QCOMPARE(line.text(), text);
        QCOMPARE(line.textFormat(), Qt::PlainText);
        QCOMPARE(paragraph.textFormat(), Qt::PlainText);
        // What is painted is as wide as the characters, so none of them was taken for markup.
        QVERIFY(line.sizeHint().width() >= line.fontMetrics().horizontalAdvance(text));
    }

    void aLongLineNeverWidensItsWindow()
    {
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        auto* label = new Label(QString(10'000, u'W'));
        layout->addWidget(label);
        window.resize(200, 100);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        label->setText(QString(20'000, u'W'));
        QCoreApplication::processEvents();
        QCOMPARE(window.width(), 200);
        QVERIFY(window.minimumSizeHint().width() < 200);
    }

    void aLineStaysOneLine()
    {
        Label label(QStringLiteral("one"));
        const int height = label.sizeHint().height();
        label.setText(QStringLiteral("one\ntwo\r\nthree\u2028four\u2029five"));
        QCOMPARE(label.sizeHint().height(), height);
        QCOMPARE(label.text(), QStringLiteral("one\ntwo\r\nthree\u2028four\u2029five"));
    }

    void aLineTakesNoRoomThatIsOver()
    {
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        auto* label = new Label(QStringLiteral("one"));
        layout->addWidget(label);
        layout->addWidget(new QWidget);
        window.resize(200, 400);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(label->height(), label->fontMetrics().height());
        QCOMPARE(label->width(), layout->contentsRect().width());
        QCOMPARE(label->minimumSizeHint(), QSize(0, label->height()));
        QCOMPARE(label->sizeHint(), QSize(label->fontMetrics().horizontalAdvance(label->text()) + 1, label->height()));
    }

    void aMegabyteIsShownAndToldAtOnce()
    {
        Label label(QString(1'000'000, u'x'));
        label.resize(300, 20);
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QElapsedTimer timer;
        timer.start();
        label.grab();
        QHelpEvent help(QEvent::ToolTip, {5, 5}, label.mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(&label, &help);
        const qint64 elapsed = timer.elapsed();
        QVERIFY(QToolTip::isVisible());
        QToolTip::hideText();
        QTRY_VERIFY(!QToolTip::isVisible());
        QVERIFY2(elapsed < 500 * slowness, qPrintable(QString::number(elapsed))); // laid out in full it is seconds
    }

    void lettersOfAnotherFontMoveNothing()
    {
        Label latin(QStringLiteral("Agjpy"));
        Label mixed(QStringLiteral("Agjpy 漢字"));
        for (Label* label : {&latin, &mixed})
            label->resize(mixed.sizeHint());
        const QRect shared(0, 0, latin.fontMetrics().horizontalAdvance(latin.text()), latin.height());
        QCOMPARE(mixed.grab(shared).toImage(), latin.grab(shared).toImage());
    }

    void aLineIsPaintedWhereItIsAligned()
    {
        Label label(QStringLiteral("x"));
        const QSize size(label.sizeHint().width() * 10, label.sizeHint().height() * 3);
        label.resize(size);
        const QSize half = size / 2;
        const QImage blank = [&] {
            Label empty;
            empty.resize(size);
            return empty.grab().toImage();
        }();
        const auto inkIn = [&](QRect part) { return label.grab().toImage().copy(part) != blank.copy(part); };
        label.setAlignment(Qt::AlignRight | Qt::AlignTop);
        QVERIFY(inkIn({half.width(), 0, half.width(), half.height()}));
        QVERIFY(!inkIn({0, 0, half.width(), size.height()}));
        label.setAlignment(Qt::AlignLeft | Qt::AlignBottom);
        QVERIFY(inkIn({0, half.height(), half.width(), size.height() - half.height()}));
        QVERIFY(!inkIn({half.width(), 0, half.width(), size.height()}));
    }

    void anElidedLineTellsItsWholeTextAsPlainToolTip()
    {
        Label label(QStringLiteral("<b>") + QString(500, u'x'));
        label.resize(100, 20);
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QHelpEvent help(QEvent::ToolTip, {5, 5}, label.mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(&label, &help);
        QVERIFY(QToolTip::text().contains(QStringLiteral("&lt;b&gt;")));
        QToolTip::hideText();
    }

    void aToolTipIsNotEndless()
    {
        Label label(QString(6000, u'x'));
        label.resize(100, 20);
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QHelpEvent help(QEvent::ToolTip, {5, 5}, label.mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(&label, &help);
        QCOMPARE(QToolTip::text().count(u'x'), 5000);
        QToolTip::hideText();
    }

    void aWholeLineHasNoToolTip()
    {
        Label label(QStringLiteral("short"));
        label.resize(300, 20);
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QTRY_VERIFY(QToolTip::text().isEmpty() || !QToolTip::isVisible());
        QHelpEvent help(QEvent::ToolTip, {5, 5}, label.mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(&label, &help);
        QVERIFY(!QToolTip::isVisible());
    }

    void aWrappingLabelTakesTheHeightItNeeds()
    {
        const WrappingLabel label(QStringLiteral("word ").repeated(200));
        QVERIFY(label.heightForWidth(300) > label.heightForWidth(900));
        QVERIFY(label.heightForWidth(900) > label.fontMetrics().height());
    }

    void aWrappingLabelCanBeSelectedByMouseAndKeyboard()
    {
        const WrappingLabel label(QStringLiteral("text"));
        QVERIFY(label.textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
        QVERIFY(label.textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
        QVERIFY(!label.textInteractionFlags().testFlag(Qt::TextEditable));
    }

    void secondaryTextIsLegible_data()
    {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("black on white") << paletteOf(Qt::black, Qt::white);
        QTest::newRow("black on light grey") << paletteOf(Qt::black, QColor(239, 239, 239));
        QTest::newRow("white on dark grey") << paletteOf(Qt::white, QColor(49, 54, 59));
        QTest::newRow("white on black") << paletteOf(Qt::white, Qt::black);
    }

    void secondaryTextIsLegible()
    {
        QFETCH(QPalette, palette);
        const QColor secondary = Colors::secondaryText(palette);
        const QColor window = palette.color(QPalette::Window);
        QVERIFY(contrast(secondary, window) >= 4.5);
        QVERIFY(contrast(secondary, window) < contrast(palette.color(QPalette::WindowText), window)); // of less weight
    }

    void secondaryTextFollowsThePalette()
    {
        QWidget parent;
        auto* line = new Label(QStringLiteral("x"), &parent);
        auto* paragraph = new WrappingLabel(QStringLiteral("x"), &parent);
        line->setEmphasis(Emphasis::Secondary);
        paragraph->setEmphasis(Emphasis::Secondary);
        for (const QPalette& palette : {paletteOf(Qt::white, Qt::black), paletteOf(Qt::black, Qt::white)}) {
            parent.setPalette(palette);
            QCOMPARE(line->palette().color(QPalette::WindowText), Colors::secondaryText(palette));
            QCOMPARE(paragraph->palette().color(QPalette::WindowText), Colors::secondaryText(palette));
        }
    }

    void secondaryTextFollowsItsNewParent()
    {
        QWidget parent;
        parent.setPalette(paletteOf(Qt::black, Qt::white));
        auto* line = new Label(QStringLiteral("x"), &parent);
        auto* paragraph = new WrappingLabel(QStringLiteral("x"), &parent);
        line->setEmphasis(Emphasis::Secondary);
        paragraph->setEmphasis(Emphasis::Secondary);

        QWidget other; // with another colour of nothing but its text, which the labels have a colour of their own for
        other.setPalette(paletteOf(Qt::darkRed, Qt::white));
        line->setParent(&other);
        paragraph->setParent(&other);
        QCOMPARE(line->palette().color(QPalette::WindowText), Colors::secondaryText(other.palette()));
        QCOMPARE(paragraph->palette().color(QPalette::WindowText), Colors::secondaryText(other.palette()));
    }

    void lightAppearanceIsLegible()
    {
        const QColor background = Colors::white(0.97);
        const QPalette palette = Colors::lightAppearance(background);
        QCOMPARE(palette.color(QPalette::Window), background);
        for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
            for (const QPalette::ColorRole role :
                 {QPalette::WindowText, QPalette::Text, QPalette::Link, QPalette::PlaceholderText})
                QVERIFY(contrast(palette.color(group, role), background) >= 4.5);
            QVERIFY(contrast(palette.color(group, QPalette::ButtonText), palette.color(group, QPalette::Button))
                    >= 4.5);
            QVERIFY(contrast(palette.color(group, QPalette::HighlightedText), palette.color(group, QPalette::Highlight))
                    >= 4.5);
        }
    }

    void aChangedTextOrFontIsMeasuredAnew()
    {
        Label line(QStringLiteral("words"));
        WrappingLabel lines(QStringLiteral("words"));
        const int width = line.sizeHint().width();
        const int height = lines.heightForWidth(width);
        for (QLabel* label : {static_cast<QLabel*>(&line), static_cast<QLabel*>(&lines)})
            label->setText(QStringLiteral("words and words"));
        const int widthOfMore = line.sizeHint().width();
        const int heightOfMore = lines.heightForWidth(width);
        QVERIFY(widthOfMore > width && heightOfMore > height);
        for (QLabel* label : {static_cast<QLabel*>(&line), static_cast<QLabel*>(&lines)})
            label->setFont(fontOfSize(label->font(), 40));
        QVERIFY(line.sizeHint().width() > widthOfMore && lines.heightForWidth(width) > heightOfMore);
    }
};

QTEST_MAIN(TestLabels)
#include "TestLabels.moc"
