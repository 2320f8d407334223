#include "chat/transcript/Bubble.h"

#include "chat/transcript/TextEstimate.h"
#include "support/TestCase.h"

#include <QImage>
#include <QPainter>
#include <QTextCharFormat>

using namespace Qt::StringLiterals;

/// Which parts of a text that is too long for the screen are laid out and drawn.
class TestBubble final : public TestCase
{
    Q_OBJECT

private slots:
    void laysOutWhatIsInSightOnly()
    {
        Bubble bubble = longText();
        const int middle = bubble.height() / 2;
        QVERIFY(!hasText(drawn(bubble, middle)));

        const int moved = bubble.layOut(middle, middle + 100);
        QVERIFY(hasText(drawn(bubble, middle + moved)));
        QVERIFY(!hasText(drawn(bubble, 0)));
        QVERIFY(!hasText(drawn(bubble, bubble.height() - 100)));
        const int height = bubble.height();
        QCOMPARE(bubble.layOut(middle + moved, middle + moved + 100), 0);
        QCOMPARE(bubble.height(), height);
    }

    void dropsWhatIsOutOfSight()
    {
        for (const double place : {0.0, 0.5, 1.0}) { // from the top to the bottom
            Bubble bubble = longText();
            bubble.layOut(0, bubble.height() * 2);
            const int end = bubble.height() - 100;
            const int inSight = static_cast<int>(place * end);
            QVERIFY(bubble.dropLayoutsOutside(inSight, inSight + 100));
            for (const int top : {0, end / 2, end})
                QCOMPARE(hasText(drawn(bubble, top)), top == inSight);
            // A range that begins at the end of the bubble is outside of it.
            QVERIFY(!bubble.dropLayoutsOutside(bubble.height(), bubble.height() + 100));
            QVERIFY(!hasText(drawn(bubble, inSight)));
        }
    }

    void drawsTheSelectionWhereItIs()
    {
        Bubble bubble = longText();
        bubble.layOut(0, bubble.height() * 2);
        const qsizetype position = bubble.text().size() / 2;
        const TextRange line = bubble.lineAt(position);
        const QRectF caret = bubble.caretRect(line.start);
        const int top = static_cast<int>(caret.top()) - 50;

        const QImage image = drawn(bubble, top, line);
        const auto colorAt = [&image](double y) { return image.pixelColor(0, static_cast<int>(y)); };
        QCOMPARE(colorAt(50 + 1), QColor(Qt::red)); // above the letters
        QCOMPARE(colorAt(50 - caret.height() + 1), QColor(Qt::white));
        QCOMPARE(colorAt(50 + caret.height() + 1), QColor(Qt::white));
    }

private:
    static constexpr int width = 500;
    static constexpr int lines = 5000; // in dozens of chunks

    static Bubble longText()
    {
        QFont font;
        font.setPixelSize(18);
        Bubble bubble(Speaker::Nelo, u"line\n"_s.repeated(lines) + u"last"_s);
        bubble.setFormat(font, width, TextEstimate(font));
        return bubble;
    }

    /// Returns a picture of the hundred pixels below `top`.
    static QImage drawn(const Bubble& bubble, int top, TextRange selection = {})
    {
        QImage image(width, 100, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.setPen(Qt::black);
        QTextCharFormat selected;
        selected.setBackground(Qt::red);
        bubble.draw(painter, QPointF(0, -top), image.rect(), selection, selected);
        return image;
    }

    static bool hasText(const QImage& image)
    {
        QImage blank(image.size(), image.format());
        blank.fill(Qt::white);
        return image != blank;
    }
};

QTEST_MAIN(TestBubble)
#include "TestBubble.moc"
