#include "chat/transcript/TranscriptArea.h"

#include "support/CaseTable.h"
#include "support/Slowness.h"
#include "support/TestCase.h"
#include "ui/Colors.h"

#include <QElapsedTimer>
#include <QPaintEvent>
#include <QScreen>
#include <QScrollBar>

using namespace Qt::StringLiterals;

namespace {

/// An area without a selection.
class PlainArea final : public TranscriptArea
{
public:
    PlainArea() { setPalette(Colors::lightAppearance(Colors::white(0.97))); }

    using TranscriptArea::revealBubble;
    using TranscriptArea::revealCaret;

protected:
    TextRange selectionIn(int /*index*/) const override { return {}; }
    bool showsFocus(int /*index*/) const override { return false; }
};

QString numbered(int number)
{
    return u"Message %1. "_s.arg(number) + u"Some words that fill lines, 以及一些中文。 "_s.repeated(number % 12);
}

/// Returns whether two pictures show the same. Smoothing may change an edge a little that is painted in two pieces.
bool showTheSame(const QPixmap& one, const QPixmap& other)
{
    const QImage left = one.toImage().convertToFormat(QImage::Format_RGB32);
    const QImage right = other.toImage().convertToFormat(QImage::Format_RGB32);
    const auto isNear = [](uchar here, uchar there) { return qAbs(here - there) <= 8; };
    return left.size() == right.size()
           && std::equal(left.constBits(), left.constBits() + left.sizeInBytes(), right.constBits(), isNear);
}

} // namespace

/// Scrolling and resizing a transcript, and what is painted again.
class TestTranscriptArea final : public TestCase
{
    Q_OBJECT

private slots:
    void theNewestBubbleStaysInSight()
    {
        using Change = std::function<void(PlainArea&)>;
        const CaseTable<Change> cases{
            {"after the first showing", [](PlainArea&) {}},
            {"after every new bubble", [](PlainArea& area) { area.append(Speaker::Nelo, numbered(11)); }},
            {"after a new bubble, from far away",
             [](PlainArea& area) {
                 area.verticalScrollBar()->setValue(0);
                 area.append(Speaker::User, u"new"_s);
             }},
            {"after one that came while it was hidden",
             [](PlainArea& area) {
                 area.hide();
                 area.append(Speaker::Nelo, numbered(11));
                 area.show();
             }},
            {"after a jump to the end",
             [](PlainArea& area) {
                 area.verticalScrollBar()->setValue(0);
                 area.resize(500, 400); // all heights are estimates again
                 area.verticalScrollBar()->setValue(area.verticalScrollBar()->maximum());
             }},
            {"after a new size", [](PlainArea& area) { area.resize(area.width() == 450 ? 900 : 450, 400); }},
            {"after a new height", [](PlainArea& area) { area.resize(700, area.height() == 300 ? 600 : 300); }},
            {"after a new font", [](PlainArea& area) { area.setFont(QFont(u"DejaVu Serif"_s)); }},
        };
        fill(300);
        showArea();
        for (const auto& [change] : cases) {
            for (int time = 0; time < 10; ++time) {
                change(*m_area);
                QCoreApplication::processEvents();
                QVERIFY(isAtEnd());
            }
        }
    }

    void hidesTheScrollBarWhenAllIsInSight()
    {
        m_area->append(Speaker::Nelo, u"welcome"_s);
        showArea();
        QTRY_VERIFY(!bar()->isVisible());
        QVERIFY(m_area->bubbleRect(0).bottom() < 100); // at the top, not at the bottom

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
        const QString narrow = u"i"_s.repeated(400); // lower than its estimate, so that more rows come into sight
        for (int number = 0; number < 30; ++number)
            m_area->append(Speaker::Nelo, narrow);
        showArea(700, 1200);
        bar()->setValue(0);
        m_area->resize(500, 1200); // all heights are estimates again
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
        // The estimates above may be wrong. What is in sight moves exactly by the step.
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
        QVERIFY(m_area->bubbleRect(0).top() > 0);
    }

    void scrollingPaintsWhatAFreshPaintWould()
    {
        fill(60);
        m_area->append(Speaker::Nelo, u"i"_s.repeated(700)); // much lower than its estimate
        showArea();
        const auto scroll = [this](int step) {
            bar()->setValue(bar()->value() + step);
            QVERIFY(isPaintedUpToDate());
        };
        for (const int step : {-60, -200, -60, -1000, 350, 35, 100'000, -30})
            scroll(step);
        while (bar()->value() > 0 && !QTest::currentTestFailed())
            scroll(-130);

        m_area->resize(500, 1200); // all heights are estimates again
        const auto belowTheView = [this] { return m_area->bubbleRect(m_area->count() - 1).top() - 1200; };
        while (belowTheView() > 400)
            bar()->setValue(bar()->value() + belowTheView() - 300);
        QVERIFY(belowTheView() > 0);
        QCoreApplication::processEvents();
        scroll(900);
        QVERIFY(isAtEnd()); // the end was nearer
    }

    void aBubbleThatTurnsOutToBeWiderIsPaintedAnew()
    {
        const QString wide = u"W"_s.repeated(25) + u'\n'; // fewer letters, so that its estimated width is smaller
        m_area->append(Speaker::User, wide.repeated(200) + (u"i"_s.repeated(30) + u'\n').repeated(200));
        showArea();
        const int narrow = m_area->bubbleRect(0).width();
        while (m_area->bubbleRect(0).width() == narrow && bar()->value() > 0) {
            bar()->setValue(bar()->value() - 100);
            QVERIFY(isPaintedUpToDate());
        }
        QVERIFY(m_area->bubbleRect(0).width() > narrow);
    }

    void aNewWidthOrFontKeepsTheTextAtTheTop()
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
            QVERIFY2(qAbs(moved) < 60, qPrintable(QString::number(moved))); // the line may begin at another position
        }
        QFont font = m_area->font();
        font.setFamily(u"DejaVu Serif"_s);
        m_area->setFont(font);
        QCOMPARE(placeAtTop().first, index);
    }

    void aNewWidthKeepsTheNameAtTheTop()
    {
        fill(60);
        for (const int above :
             {15, 3, 30, 40}) { // the top of the view is in the name, below it, between two bubbles, and higher
            showArea(600);
            m_area->revealBubble(31); // now its height is no estimate
            bar()->setValue(bar()->value() + m_area->bubbleRect(31).top() - above);
            QCOMPARE(m_area->bubbleRect(31).top(), above);
            for (const int width : {500, 800, 450}) {
                m_area->resize(width, 400);
                QCoreApplication::processEvents();
                QCOMPARE(m_area->bubbleRect(31).top(), above);
            }
        }
    }

    void anEmptyTranscriptDoesNotScroll()
    {
        showArea(200, 60);
        bar()->setValue(0);
        m_area->resize(300, 60);
        QCOMPARE(m_area->count(), 0);
        QCOMPARE(bar()->value(), 0);
    }

    void theErrorsOfManyNewWidthsDoNotAddUp()
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

    void revealsABubbleAndACaretFarAway()
    {
        fill(100);
        m_area->append(Speaker::Nelo, u"line\n"_s.repeated(5000));
        showArea();
        m_area->revealBubble(20);
        QVERIFY(m_area->bubbleRect(20).top() >= 0);
        QVERIFY(m_area->bubbleRect(20).bottom() < m_area->viewport()->height());
        const int value = bar()->value();
        m_area->revealBubble(20);
        QCOMPARE(bar()->value(), value); // it is in sight already
        m_area->revealBubble(30);
        QCOMPARE(m_area->bubbleRect(30).bottom(), m_area->viewport()->rect().bottom()); // no further than needed
        m_area->revealCaret(100, 5 * 2000);
        const QRect caret = m_area->caretRect(100, 5 * 2000);
        QVERIFY(m_area->viewport()->rect().contains(caret.center()));
        QCOMPARE(m_area->positionAt(100, caret.center()), 5 * 2000);
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
            m_area->append(Speaker::Nelo, u"i"_s.repeated(500)); // lower than its estimate
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

    void aMessageOfAnyLengthShowsAtOnce()
    {
        for (const QString& text : {u"a line of a hundred thousand\n"_s.repeated(100'000),
                                    u"lorem ipsum "_s.repeated(20 * 1024 * 1024 / 12)}) {
            QElapsedTimer timer;
            timer.start();
            m_area->append(Speaker::Nelo, text);
            showArea();
            m_area->resize(500, 400);
            bar()->setValue(bar()->maximum() / 2);
            bar()->setValue(bar()->maximum());
            m_area->grab();
            // A layout of the whole text would take many times as long.
            QVERIFY2(timer.elapsed() < 2000 * slowness, qPrintable(QString::number(timer.elapsed())));
            QVERIFY(isAtEnd());
        }
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
        QVERIFY(QTest::qWaitForWindowExposed(&*m_area));
        QCoreApplication::processEvents();
    }
    QScrollBar* bar() const { return m_area->verticalScrollBar(); }
    bool isAtEnd() const
    {
        const int newest = m_area->bubbleRect(m_area->count() - 1).bottom() + 1;
        return bar()->value() == bar()->maximum() && newest == m_area->viewport()->height() - 120;
    }
    /// Returns whether the screen shows the same as a picture that is painted now.
    bool isPaintedUpToDate() const
    {
        QCoreApplication::processEvents();
        return showTheSame(m_area->screen()->grabWindow(m_area->winId()), m_area->grab());
    }
    /// Returns the bubble and the position at the top left of the view.
    std::pair<int, qsizetype> placeAtTop() const
    {
        int index = 0;
        while (m_area->bubbleRect(index).bottom() < 0)
            ++index;
        return {index, m_area->positionAt(index, {0, 0})};
    }

    Fresh<PlainArea> m_area{this};
};

QTEST_MAIN(TestTranscriptArea)
#include "TestTranscriptArea.moc"
