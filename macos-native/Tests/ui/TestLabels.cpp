#include "ui/Labels.h"

#include "support/CaseTable.h"
#include "support/Slowness.h"
#include "support/TestCase.h"
#include "ui/Colors.h"
#include "ui/ScrollingLabel.h"

#include <QElapsedTimer>
#include <QHelpEvent>
#include <QTextDocument>
#include <QTextFragment>
#include <QToolTip>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

/// Labels and the colors of their text.
class TestLabels final : public TestCase
{
    Q_OBJECT

private slots:
    void foreignTextStaysPlain()
    {
        const CaseTable<QString> cases{
            {"markup", u"<b>bold</b><img src='x'>"_s},
            {"an entity", u"a &amp; b"_s},
            {"an ampersand", u"Save && Quit &now"_s},
        };
        for (const auto& [text] : cases) {
            Label line(text);
            const WrappingLabel paragraph(text);
            QCOMPARE(line.text(), text);
            QCOMPARE(line.textFormat(), Qt::PlainText);
            QCOMPARE(paragraph.textFormat(), Qt::PlainText);
            // What is painted is as wide as the characters, so none of them was taken for markup.
            QVERIFY(line.sizeHint().width() >= line.fontMetrics().horizontalAdvance(text));
        }
    }

    void aLineStaysOneLine()
    {
        Label label(u"one"_s);
        const int height = label.sizeHint().height();
        label.setText(u"one\ntwo\r\nthree\u2028four\u2029five"_s);
        QCOMPARE(label.sizeHint().height(), height);
        QCOMPARE(label.text(), u"one\ntwo\r\nthree\u2028four\u2029five"_s);
    }

    void aLineIsAsHighAsItsFontAndNeverWidensItsWindow()
    {
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        auto* label = new Label;
        layout->addWidget(label);
        layout->addWidget(new QWidget);
        window.resize(200, 400);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        for (const QString& text : {u"one"_s, QString(10'000, u'W')}) {
            label->setText(text);
            QCoreApplication::processEvents();
            QCOMPARE(window.width(), 200);
            QCOMPARE(label->size(), QSize(layout->contentsRect().width(), label->fontMetrics().height()));
            QCOMPARE(label->minimumSizeHint(), QSize(0, label->height()));
        }
        label->setText(u"one"_s);
        QCOMPARE(label->sizeHint(), QSize(label->fontMetrics().horizontalAdvance(u"one"_s) + 1, label->height()));
    }

    void aMegabyteIsShownAtOnceAlsoInAToolTip()
    {
        Label label(QString(1'000'000, u'x'));
        label.resize(300, 20);
        QElapsedTimer timer;
        timer.start();
        label.grab();
        askForToolTip(label);
        const qint64 elapsed = timer.elapsed();
        QVERIFY(!toolTipOf(label).isEmpty());
        QVERIFY2(elapsed < 500 * slowness,
                 qPrintable(QString::number(elapsed))); // the layout of the whole text takes seconds
    }

    void lettersOfAnotherFontDoNotMoveTheLine()
    {
        Label latin(u"Agjpy"_s);
        Label mixed(u"Agjpy 漢字"_s);
        for (Label* label : {&latin, &mixed})
            label->resize(mixed.sizeHint());
        const QRect shared(0, 0, latin.fontMetrics().horizontalAdvance(latin.text()), latin.height());
        QCOMPARE(mixed.grab(shared).toImage(), latin.grab(shared).toImage());
    }

    void aLineIsPaintedWhereItIsAligned()
    {
        Label label(u"x"_s);
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
        label.setText(QString(100, u'x'));
        QVERIFY(inkIn({half.width(), 0, half.width(), half.height()})); // of the elided line
        label.setText(u"x"_s);
        label.setAlignment(Qt::AlignLeft | Qt::AlignBottom);
        QVERIFY(inkIn({0, half.height(), half.width(), size.height() - half.height()}));
        QVERIFY(!inkIn({half.width(), 0, half.width(), size.height()}));
    }

    void anElidedLineShowsItsTextInAPlainToolTip()
    {
        const CaseTable<QString, QString> cases{
            {"markup", u"<b>"_s + QString(500, u'x'), u"<p>&lt;b&gt;"_s + QString(500, u'x') + u"</p>"_s},
            {"no more than a screen shows", QString(6000, u'x'), u"<p>"_s + QString(5000, u'x') + u"</p>"_s},
            {"nothing of a whole line", u"short"_s, {}},
        };
        for (const auto& [text, toolTip] : cases) {
            Label label(text);
            label.resize(std::min(100, label.sizeHint().width() - 1), 20); // the short one fits to the pixel
            QCOMPARE(toolTipOf(label), toolTip);
        }
    }

    void aWrappingLabelHasTheHeightOfItsTextWhichCanBeSelected()
    {
        const WrappingLabel label(u"word "_s.repeated(200));
        QVERIFY(label.heightForWidth(300) > label.heightForWidth(900));
        QVERIFY(label.heightForWidth(900) > label.fontMetrics().height());
        QCOMPARE(label.textInteractionFlags(), Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    }

    void aWrappingLabelIsAtLeastAsWideAsItsLongestWordAndAsHighAsItsLineBreaksAsk()
    {
        for (const QString& text :
             {u"words of several lengths"_s, u"one\ntwo words\n\nfour"_s, u"Nelo 为您提供服务"_s}) {
            QLabel selectable(text);
            selectable.setWordWrap(true);
            selectable.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
            QCOMPARE(WrappingLabel(text).minimumSizeHint(), selectable.minimumSizeHint());
        }
    }

    void secondaryTextFollowsThePaletteAndANewParent()
    {
        auto* line = new Label(u"x"_s);
        auto* paragraph = new WrappingLabel(u"x"_s);
        line->setEmphasis(Emphasis::Secondary);
        paragraph->setEmphasis(Emphasis::Secondary);
        QWidget parent;
        QWidget other; // it differs only in the color of its text, which a secondary label does not inherit
        other.setPalette(paletteOf(Qt::darkRed, Qt::white));
        for (QWidget* label : std::initializer_list<QWidget*>{line, paragraph, new ScrollingLabel(2)}) {
            const auto role = qobject_cast<ScrollingLabel*>(label) ? QPalette::Text : QPalette::WindowText;
            label->setParent(&parent);
            for (const QPalette& palette : {paletteOf(Qt::white, Qt::black), paletteOf(Qt::black, Qt::white)}) {
                parent.setPalette(palette);
                QCOMPARE(label->palette().color(role), Colors::secondaryText(palette));
            }
            label->setParent(&other);
            QCOMPARE(label->palette().color(role), Colors::secondaryText(other.palette()));
        }
    }

    void theLinkToCustomerServiceHasItsOwnLookInTheSupportLine()
    {
        for (const int size : {13, 14}) { // above the console's tabs and above the conversation
            QWidget window;
            const QLabel* line = makeSupportLine(size, &window);
            QCOMPARE(line->alignment(), Qt::AlignCenter);
            QVERIFY(line->accessibleName().endsWith(u"：nelo.example"_s)); // without markup
            QTextDocument document;
            document.setHtml(line->text());
            const QTextBlock block = document.begin();
            QList<QTextCharFormat> formats; // of its pieces, in their order
            for (auto piece = block.begin(); piece != block.end(); ++piece)
                formats.append(piece.fragment().charFormat());
            QCOMPARE(formats.size(), 2);
            for (const auto property : {QTextFormat::FontPointSize, QTextFormat::FontWeight})
                QVERIFY(!formats[0].hasProperty(property)); // the introduction has the label's font
            QVERIFY(!formats[0].isAnchor());
            QCOMPARE(formats[1].anchorHref(), u"https://nelo.example/support"_s);
            QCOMPARE(QFontInfo(formats[1].font()).pixelSize(), size);
            QCOMPARE(formats[1].fontWeight(), int(QFont::Medium));
            QVERIFY(formats[1].fontUnderline());
            QCOMPARE(formats[1].foreground().color(), window.palette().color(QPalette::Link));
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

private:
    static QPalette paletteOf(const QColor& text, const QColor& window)
    {
        QPalette palette;
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Window, window);
        return palette;
    }

    /// Sends the event for which `label` shows a tool tip, unless its whole text is visible.
    static void askForToolTip(QWidget& label)
    {
        label.show();
        QHelpEvent help(QEvent::ToolTip, {5, 5}, label.mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(&label, &help);
    }

    static QString toolTipOf(QWidget& label)
    {
        askForToolTip(label);
        const QString text = QToolTip::isVisible() ? QToolTip::text() : QString();
        QToolTip::hideText();
        return QTest::qWaitFor([] { return !QToolTip::isVisible(); }) ? text : QString();
    }
};

QTEST_MAIN(TestLabels)
#include "TestLabels.moc"
