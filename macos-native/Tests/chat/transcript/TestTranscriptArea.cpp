#include "chat/transcript/TranscriptArea.h"

#include "support/Slowness.h"
#include "support/Warnings.h"
#include "ui/Colors.h"

#include <QElapsedTimer>
#include <QPaintEvent>
#include <QScreen>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// Shows and scrolls; nothing is ever selected.
class PlainArea final : public TranscriptArea
{
public:
    using TranscriptArea::revealBubble;
    using TranscriptArea::revealCaret;
    using TranscriptArea::TranscriptArea;

protected:
    TextRange selectionIn(int /*index*/) const override { return {}; }
    bool showsFocus(int /*index*/) const override { return false; }
};

using Change = std::function<void(PlainArea&)>;

QString numbered(int number)
{
    return u"Message %1. "_s.arg(number) + u"Some words that fill lines, 以及一些中文。 "_s.repeated(number % 12);
}

/// Whether two pictures show the same, but for what smoothing makes of an edge that is painted in two pieces.
bool showTheSame(const QImage& one, const QImage& other)
{
    constexpr int shade = 8;
    if (one.size() != other.size())
        return false;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QColor here = one.pixelColor(x, y);
            const QColor there = other.pixelColor(x, y);
            if (qAbs(here.red() - there.red()) > shade || qAbs(here.green() - there.green()) > shade
                || qAbs(here.blue() - there.blue()) > shade)
                return false;
        }
    }
    return true;
}

} // namespace

Q_DECLARE_METATYPE(Change)

/// Scrolling, resizing and painting a transcript.
class TestTranscriptArea final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_area = std::make_unique<PlainArea>();
        m_area->setPalette(Colors::lightAppearance(Colors::white(0.97)));
    }

    void cleanup() { m_area.reset(); }

    void theNewestBubbleIsInSightAfter_data()
    {
        QTest::addColumn<Change>("change");
        QTest::newRow("the first showing") << Change([](PlainArea&) {});
        QTest::newRow("every new bubble") << Change([](PlainArea& area) { area.append(Speaker::Nelo, numbered(11)); });
        QTest::newRow("a new bubble, from far away") << Change([](PlainArea& area) {
            area.verticalScrollBar()->setValue(0);
            area.append(Speaker::User, u"new"_s);
        });
        QTest::newRow("one that came while it was hidden") << Change([](PlainArea& area) {
            area.hide();
            area.append(Speaker::Nelo, numbered(11));
            area.show();
        });
        QTest::newRow("a jump to the end") << Change([](PlainArea& area) {
            area.verticalScrollBar()->setValue(0);
            area.resize(500, 400); // estimates everything anew
            area.verticalScrollBar()->setValue(area.verticalScrollBar()->maximum());
        });
        for (const QSize size : {QSize(700, 300), QSize(700, 600), QSize(450, 400), QSize(900, 400)})
            QTest::addRow("%d x %d", size.width(), size.height())
                << Change([size](PlainArea& area) { area.resize(size); });
        QTest::newRow("a new font") << Change([](PlainArea& area) { area.setFont(QFont(u"DejaVu Serif"_s)); });
    }

    void theNewestBubbleIsInSightAfter()
    {
        QFETCH(Change, change);
        fill(300);
        showArea();
        for (int time = 0; time < 10; ++time) {
            change(*m_area);
            QCoreApplication::processEvents();
            QVERIFY(isAtEnd());
        }
    }

    void hidesTheScrollBarWhenAllIsInSight()
    {
        m_area->append(Speaker::Nelo, u"welcome"_s);
        showArea();
        QTRY_VERIFY(!bar()->isVisible());
        QCOMPARE(m_area->bubbleRect(0).bottom() < 100, true); // at the top, not at the bottom

        fill(10);
        QTRY_VERIFY(bar()->isVisible());
        QVERIFY(isAtEnd());
    }

    void appendingPaintsWhatAFreshPaintWould()
    {
        showArea();
        for (int number = 0; number < 20; ++number) {
            m_area->append(Speaker::Nelo, numbered(number));
            QVERIFY(isPaintedUpToDate());
        }
    }

    void comingBackFromFarAwayShowsAllThatIsInSight()
    {
        const QString narrow = u"i"_s.repeated(400); // far less high than expected, so that more comes into sight
        for (int number = 0; number < 30; ++number)
            m_area->append(Speaker::Nelo, narrow);
        showArea(700, 1200);
        bar()->setValue(0);
        m_area->resize(500, 1200); // estimates everything anew
        m_area->append(Speaker::Nelo, narrow);
        const QImage shown = m_area->grab().toImage();
        for (int index = m_area->count() - 1; m_area->bubbleRect(index).bottom() >= 0; --index)
            m_area->caretRect(index, 0); // lays it out
        QCOMPARE(m_area->grab().toImage(), shown);
        QVERIFY(isAtEnd());
    }

    void scrollingUpStepByStepShowsEveryLineOnce()
    {
        fill(100);
        showArea();
        // However wrong the estimates above are, what is in sight moves by the step and nothing else.
        while (bar()->value() > 0) {
            int index = m_area->count() - 1;
            while (index > 0 && m_area->bubbleRect(index).top() > 200)
                --index;
            const int before = m_area->bubbleRect(index).bottom();
            const int value = bar()->value();
            bar()->setValue(value - 60);
            const int moved = m_area->bubbleRect(index).bottom() - before;
            if (bar()->value() > 0)
                QCOMPARE(moved, 60);
            else
                QVERIFY(moved <= value);
        }
        QCOMPARE(m_area->bubbleRect(0).top() > 0, true);
    }

    void scrollingPaintsWhatAFreshPaintWould()
    {
        fill(60);
        m_area->append(Speaker::Nelo, u"i"_s.repeated(700)); // far less high than expected
        showArea();
        const auto scroll = [this](int step) {
            bar()->setValue(bar()->value() + step);
            QVERIFY(isPaintedUpToDate());
        };
        for (const int step : {-60, -200, -60, -1000, 350, 35, 100'000, -30})
            scroll(step);
        while (bar()->value() > 0 && !QTest::currentTestFailed())
            scroll(-130);

        m_area->resize(500, 1200); // estimates everything anew
        const auto belowTheView = [this] { return m_area->bubbleRect(m_area->count() - 1).top() - 1200; };
        while (belowTheView() > 400)
            bar()->setValue(bar()->value() + belowTheView() - 300);
        QVERIFY(belowTheView() > 0);
        QCoreApplication::processEvents();
        scroll(900);
        QVERIFY(isAtEnd()); // there was less left
    }

    void aBubbleThatTurnsOutToBeWiderIsPaintedAnew()
    {
        const QString wide = u"W"_s.repeated(25) + u'\n'; // fewer letters, which count as less wide
        m_area->append(Speaker::User, wide.repeated(200) + (u"i"_s.repeated(30) + u'\n').repeated(200));
        showArea();
        const int narrow = m_area->bubbleRect(0).width();
        while (m_area->bubbleRect(0).width() == narrow && bar()->value() > 0) {
            bar()->setValue(bar()->value() - 100);
            QVERIFY(isPaintedUpToDate());
        }
        QVERIFY(m_area->bubbleRect(0).width() > narrow);
    }

    void aNewWidthKeepsTheReadersPlace()
    {
        fill(200);
        showArea(600);
        bar()->setValue(bar()->maximum() / 3);
        m_area->append(Speaker::Nelo, u"x"_s);
        bar()->setValue(bar()->maximum() / 3);
        const auto [index, position] = placeAtTop();
        const int before = m_area->caretRect(index, position).top();
        for (const int width : {500, 800, 450}) {
            m_area->resize(width, 400);
            QCoreApplication::processEvents();
            QCOMPARE(placeAtTop().first, index);
            const int moved = m_area->caretRect(index, position).top() - before;
            QVERIFY2(qAbs(moved) < 60, qPrintable(QString::number(moved))); // the line that holds it begins elsewhere
        }
    }

    void aNewWidthKeepsTheNameAtTheTop_data()
    {
        QTest::addColumn<int>("above"); // of the bubble, at the top of the view
        QTest::newRow("within the name") << 15;
        QTest::newRow("below the name") << 3;
        QTest::newRow("between two bubbles") << 30;
        QTest::newRow("at the end of the bubble before") << 40;
    }

    void aNewWidthKeepsTheNameAtTheTop()
    {
        QFETCH(int, above);
        fill(60);
        showArea(600);
        m_area->revealBubble(31); // which is no estimate any longer then
        bar()->setValue(bar()->value() + m_area->bubbleRect(31).top() - above);
        QCOMPARE(m_area->bubbleRect(31).top(), above);
        for (const int width : {500, 800, 450}) {
            m_area->resize(width, 400);
            QCoreApplication::processEvents();
            QCOMPARE(m_area->bubbleRect(31).top(), above);
        }
    }

    void anEmptyTranscriptStaysSoInAViewLowerThanItsRoom()
    {
        showArea(200, 60);
        bar()->setValue(0);
        m_area->resize(300, 60);
        QCOMPARE(m_area->count(), 0);
        QCOMPARE(bar()->value(), 0);
    }

    void manyNewWidthsDoNotDrift()
    {
        fill(200);
        showArea(600);
        bar()->setValue(bar()->maximum() / 2);
        const auto place = placeAtTop();
        for (int width = 600; width > 450; width -= 3)
            m_area->resize(width, 400);
        m_area->resize(600, 400);
        QCoreApplication::processEvents();
        QCOMPARE(placeAtTop(), place);
    }

    void aNewFontKeepsTheReadersPlace()
    {
        fill(100);
        showArea();
        bar()->setValue(bar()->maximum() / 2);
        const int index = placeAtTop().first;
        QFont font = m_area->font();
        font.setFamily(u"DejaVu Serif"_s);
        m_area->setFont(font);
        QCOMPARE(placeAtTop().first, index);
    }

    void revealsABubble()
    {
        fill(100);
        showArea();
        m_area->revealBubble(20);
        QVERIFY(m_area->bubbleRect(20).top() >= 0);
        QVERIFY(m_area->bubbleRect(20).bottom() < m_area->viewport()->height());
        const int value = bar()->value();
        m_area->revealBubble(20);
        QCOMPARE(bar()->value(), value); // it is in sight already
        m_area->revealBubble(30);
        QVERIFY(m_area->bubbleRect(30).bottom() < m_area->viewport()->height());
    }

    void revealsACaretFarAway()
    {
        m_area->append(Speaker::Nelo, u"line\n"_s.repeated(5000));
        showArea();
        m_area->revealCaret(0, 5 * 2000);
        const QRect caret = m_area->caretRect(0, 5 * 2000);
        QVERIFY(m_area->viewport()->rect().contains(caret.center()));
        QCOMPARE(m_area->positionAt(0, caret.center()), 5 * 2000);
    }

    void clearingLeavesNothing()
    {
        fill(50);
        showArea();
        m_area->clear();
        QCOMPARE(m_area->count(), 0);
        QCOMPARE(bar()->maximum(), 0);
        QCOMPARE(m_area->bubbleAt({50, 50}), -1);
        m_area->append(Speaker::Nelo, u"again"_s);
        QCOMPARE(m_area->count(), 1);
        QVERIFY(m_area->bubbleRect(0).top() > 0);
    }

    void scrollingPaintsWhatComesIntoSightOnly()
    {
        class PaintWatcher final : public QObject
        {
        public:
            QRegion painted;

        protected:
            bool eventFilter(QObject* /*watched*/, QEvent* event) override
            {
                if (event->type() == QEvent::Paint)
                    painted += static_cast<QPaintEvent*>(event)->region();
                return false;
            }
        };
        for (int number = 0; number < 60; ++number)
            m_area->append(Speaker::Nelo, u"i"_s.repeated(500)); // less high than expected until it comes into sight
        showArea();
        QCoreApplication::processEvents();
        PaintWatcher watcher;
        m_area->viewport()->installEventFilter(&watcher);
        const int before = bar()->maximum();
        for (int step = 0; step < 30; ++step) {
            watcher.painted = {};
            bar()->setValue(bar()->value() - 10);
            QTRY_VERIFY(!watcher.painted.isEmpty());
            QCOMPARE(watcher.painted.boundingRect().height(), 10);
        }
        QVERIFY(bar()->maximum() < before);
    }

    void paintsTheGivenColors()
    {
        m_area->append(Speaker::User, u"█"_s);
        m_area->append(Speaker::Nelo, u"█"_s);
        showArea();
        const QImage image = m_area->viewport()->grab().toImage();
        const QRect user = m_area->bubbleRect(0);
        const QRect nelo = m_area->bubbleRect(1);

        QCOMPARE(image.pixelColor(user.center().x(), user.top() + 5), QColor(51, 120, 240));
        QCOMPARE(image.pixelColor(user.center().x(), user.top()), QColor(51, 120, 240)); // no border
        QCOMPARE(image.pixelColor(nelo.center().x(), nelo.top() + 5).rgb(), Colors::white(0.98).rgb());
        QCOMPARE(image.pixelColor(nelo.center().x(), nelo.top()).lightness(), Colors::white(0.86).lightness());
        QCOMPARE(image.pixelColor(nelo.left(), nelo.center().y()).lightness(), Colors::white(0.86).lightness());
        const QRgb background = Colors::white(0.97).rgb();
        QCOMPARE(image.pixel(user.topLeft()), background); // round corners
        QCOMPARE(image.pixel(user.bottomRight()), background);
        QCOMPARE(image.pixel(nelo.topLeft() + QPoint(4, 4)), background);
        QVERIFY(image.pixel(nelo.topLeft() + QPoint(8, 8)) != background);

        const auto has = [&image](const QRect& rect, QRgb color) {
            for (int y = rect.top(); y <= rect.bottom(); ++y) {
                for (int x = rect.left(); x <= rect.right(); ++x) {
                    if (image.pixel(x, y) == color)
                        return true;
                }
            }
            return false;
        };
        QVERIFY(has(user.adjusted(18, 14, -18, -14), QColorConstants::White.rgb()));
        QVERIFY(has(nelo.adjusted(18, 14, -18, -14), m_area->palette().color(QPalette::WindowText).rgb()));
    }

    void theCornersOfABubbleAreQuartersOfACircle()
    {
        constexpr int radius = 20;
        m_area->append(Speaker::User, u"question"_s);
        showArea();
        const QImage image = m_area->viewport()->grab().toImage();
        const QRect bubble = m_area->bubbleRect(0);
        const auto cornerColor = [&](int across, int down) {
            return image.pixelColor(bubble.left() + across, bubble.top() + down);
        };
        for (int across = 0; across < radius; ++across) {
            for (int down = 0; down < across; ++down)
                QVERIFY(qAbs(cornerColor(across, down).red() - cornerColor(down, across).red()) < 16);
        }
        // Where the circle crosses the diagonal, 0.29 radii from both sides, its edge is.
        QCOMPARE(cornerColor(4, 4), cornerColor(0, 0));
        QCOMPARE(cornerColor(7, 7), cornerColor(radius, radius));
    }

    void paintsTheSpeakersAboveTheirBubbles()
    {
        m_area->append(Speaker::Nelo, u"answer"_s);
        m_area->append(Speaker::User, u"question"_s);
        showArea();
        const QImage picture = m_area->viewport()->grab().toImage();
        const auto isPainted = [&picture](const QRect& area) {
            QImage plain(area.size(), picture.format());
            plain.fill(picture.pixel(area.topLeft()));
            return picture.copy(area) != plain;
        };
        const int middle = picture.width() / 2;
        const QRect nelo = m_area->bubbleRect(0);
        const QRect user = m_area->bubbleRect(1);
        const QRect besideTheUser(0, nelo.bottom() + 2, middle, user.top() - nelo.bottom() - 4);
        QVERIFY(isPainted({nelo.left(), 0, middle - nelo.left(), nelo.top()}));
        QVERIFY(!isPainted({middle, 0, middle, nelo.top()}));
        QVERIFY(isPainted(besideTheUser.translated(middle, 0)));
        QVERIFY(!isPainted(besideTheUser));
    }

    void theSpeakersNamesHaveAFontOfTheirOwn()
    {
        m_area->append(Speaker::Nelo, u"answer"_s);
        showArea();
        const auto name = [this] {
            return m_area->viewport()->grab({0, 0, m_area->width(), m_area->bubbleRect(0).top()}).toImage();
        };
        const QImage before = name();
        QFont large = m_area->font();
        large.setPixelSize(30);
        m_area->setFont(large);
        QCOMPARE(name(), before);
    }

    void paintsTextAsItStands()
    {
        const auto picture = [this](const QString& text) {
            m_area->clear();
            m_area->append(Speaker::Nelo, text);
            return m_area->viewport()->grab().toImage();
        };
        m_area->append(Speaker::Nelo, u"x"_s);
        showArea();
        const QImage empty = picture(QString());
        for (const QString& text :
             {u"<b>bold</b>"_s, u"**bold**"_s, u"שלום, world"_s, u"👨‍👩‍👧‍👦"_s,
              u"e\u0301\u0301\u0301"_s, u"\u202Eoverride"_s, u"\U0010FFFF\uFFFE\0"_s, QString(QChar(0xD800)) + u'x'}) {
            QVERIFY2(picture(text) != empty, qPrintable(text));
            QVERIFY(m_area->bubbleRect(0).width() > 2 * 18);
        }
        picture(u"<b>bold</b>"_s);
        const int withMarkup = m_area->bubbleRect(0).width();
        picture(u"bold"_s);
        QVERIFY(m_area->bubbleRect(0).width() < withMarkup);
    }

    void aMessageOfAnyLengthShowsAtOnce_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("100,000 lines") << u"a line of a hundred thousand\n"_s.repeated(100'000);
        QTest::newRow("20 MB") << u"lorem ipsum "_s.repeated(20 * 1024 * 1024 / 12);
    }

    void aMessageOfAnyLengthShowsAtOnce()
    {
        QFETCH(QString, text);
        QElapsedTimer timer;
        timer.start();
        m_area->append(Speaker::Nelo, text);
        showArea();
        m_area->resize(500, 400);
        bar()->setValue(bar()->maximum() / 2);
        bar()->setValue(bar()->maximum());
        m_area->grab();
        // Laid out whole, it takes many times as long.
        QVERIFY2(timer.elapsed() < 2000 * slowness, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(isAtEnd());
    }

private:
    void fill(int messages)
    {
        for (int number = 0; number < messages; ++number)
            m_area->append(number % 2 == 0 ? Speaker::User : Speaker::Nelo, numbered(number));
    }
    void showArea(int width = 700, int height = 400)
    {
        m_area->resize(width, height);
        m_area->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_area.get()));
        QCoreApplication::processEvents();
    }
    QScrollBar* bar() const { return m_area->verticalScrollBar(); }
    bool isAtEnd() const
    {
        const int newest = m_area->bubbleRect(m_area->count() - 1).bottom() + 1;
        return bar()->value() == bar()->maximum() && newest == m_area->viewport()->height() - 120;
    }
    /// Whether the screen shows what painting all of it would.
    bool isPaintedUpToDate() const
    {
        QCoreApplication::processEvents();
        const QPixmap onScreen = m_area->screen()->grabWindow(m_area->winId());
        return showTheSame(onScreen.toImage(), m_area->grab().toImage());
    }
    /// The bubble and the position at the top left of the view.
    std::pair<int, qsizetype> placeAtTop() const
    {
        int index = 0;
        while (m_area->bubbleRect(index).bottom() < 0)
            ++index;
        return {index, m_area->positionAt(index, {0, 0})};
    }

    std::unique_ptr<PlainArea> m_area;
};

QTEST_MAIN(TestTranscriptArea)
#include "TestTranscriptArea.moc"
