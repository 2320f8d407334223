#include "chat/transcript/TranscriptView.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"
#include "ui/Colors.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QScopeGuard>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStyleHints>
#include <QTimer>
#include <QVBoxLayout>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

/// Selecting and copying, with the mouse and with the keyboard.
class TestTranscriptView final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        QGuiApplication::clipboard()->clear();
        m_window->setPalette(Colors::lightAppearance(Colors::white(0.97)));
        m_before = new QLineEdit(&*m_window);
        m_view = new TranscriptView(&*m_window);
        auto* column = new QVBoxLayout(&*m_window);
        column->addWidget(m_before);
        column->addWidget(m_view);
        m_window->resize(800, 500);

        m_view->append(Speaker::User, u"first question, in two\nparagraphs of some words"_s);
        m_view->append(Speaker::Nelo, u"an answer"_s);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(&*m_window));
    }

    void aDragSelectsLetters()
    {
        drag(pointAt(0, u"question"_s), pointAt(0, u"question"_s, 5));
        QCOMPARE(m_view->selectedText(), u"quest"_s);
        drag(pointAt(0, u"question"_s, 5), pointAt(0, u"first"_s, 3));
        QCOMPARE(m_view->selectedText(), u"st quest"_s);
        drag(pointAt(0, u"two"_s), pointAt(0, u"paragraphs"_s, 4));
        QCOMPARE(m_view->selectedText(), u"two\npara"_s);
        QTest::keySequence(m_view, QKeySequence::Copy);
        QCOMPARE(clipboardText(), u"two\npara"_s);
        drag(pointAt(0, u"words"_s), QPoint(surface()->width() - 1, m_view->bubbleRect(1).center().y()));
        QCOMPARE(m_view->selectedText(), u"words"_s); // a drag selects in one bubble only
        QCOMPARE(m_view->currentBubble(), 0);
    }

    void clicksSelectAWordAParagraphAndNothing()
    {
        const QPoint point = pointAt(0, u"question"_s, 3);
        QTest::mouseDClick(surface(), Qt::MiddleButton, {}, point);
        QTest::mouseDClick(surface(), Qt::RightButton, {}, point);
        QCOMPARE(m_view->selectedText(), QString());
        QTest::mouseDClick(surface(), Qt::LeftButton, {}, point);
        QTest::mouseClick(surface(), Qt::RightButton, {}, point);
        QCOMPARE(m_view->selectedText(), u"question"_s);
        QTest::mouseClick(surface(), Qt::LeftButton, {}, point);
        QCOMPARE(m_view->selectedText(), u"first question, in two"_s);
        QTest::mouseClick(surface(), Qt::LeftButton, {}, point); // a fourth click is a single click again
        QCOMPARE(m_view->selectedText(), QString());
        const QPoint beside(5, m_view->bubbleRect(0).center().y());
        for (const QPoint elsewhere : {pointAt(0, u"two"_s), beside, pointAt(1, u"answer"_s)}) {
            QTest::mouseDClick(surface(), Qt::LeftButton, {}, point);
            QTest::mouseClick(surface(), Qt::LeftButton, {}, elsewhere);
            QCOMPARE(m_view->selectedText(), QString());
        }
        QCOMPARE(m_view->currentBubble(), 1);

        QTest::mouseClick(surface(), Qt::LeftButton, {}, pointAt(0, u"first"_s));
        QTest::mouseClick(surface(), Qt::LeftButton, Qt::ShiftModifier, pointAt(0, u"first"_s, 5));
        QCOMPARE(m_view->selectedText(), u"first"_s);
        QTest::mouseClick(surface(), Qt::LeftButton, Qt::ShiftModifier, pointAt(0, u"question"_s, 8));
        QCOMPARE(m_view->selectedText(), u"first question"_s);
    }

    void aLateThirdClickIsASingleClick()
    {
        QStyleHints* hints = QGuiApplication::styleHints();
        const auto restore = qScopeGuard(
            [hints, usual = hints->mouseDoubleClickInterval()] { hints->setMouseDoubleClickInterval(usual); });
        hints->setMouseDoubleClickInterval(1);
        QTest::mouseDClick(surface(), Qt::LeftButton, {}, pointAt(0, u"question"_s, 3));
        bool isMuchLater = false;
        QTimer::singleShot(20, this, [&isMuchLater] { isMuchLater = true; });
        QTRY_VERIFY(isMuchLater);
        QTest::mouseClick(surface(), Qt::LeftButton, {}, pointAt(0, u"question"_s, 3));
        QCOMPARE(m_view->selectedText(), QString());
    }

    void aDragAfterADoubleClickSelectsWords()
    {
        const QPoint from = pointAt(0, u"question"_s, 3);
        const QPoint to = pointAt(0, u"two"_s, 1);
        QMouseEvent secondPress(QEvent::MouseButtonDblClick, from, surface()->mapToGlobal(from), Qt::LeftButton,
                                Qt::LeftButton, {});
        QApplication::sendEvent(surface(), &secondPress);
        moveMouse(to, Qt::LeftButton);
        QTest::mouseRelease(surface(), Qt::LeftButton, {}, to);
        QCOMPARE(m_view->selectedText(), u"question, in two"_s);
    }

    void aDragBeyondTheViewScrollsByItsDistance()
    {
        m_view->append(Speaker::Nelo, u"line\n"_s.repeated(300) + u"last"_s);
        const CaseTable<int> cases{
            // the distance from the view's edge: below it, or above it when negative
            {"above, up", -9},
            {"in the view, not at all", 0},
            {"a little below, a little down", 7},
            {"far below, far down", 70},
        };
        for (const auto& [beyond] : cases) {
            bar()->setValue(bar()->maximum() / 2);
            const int before = bar()->value();
            const QPoint middle(m_view->bubbleRect(2).right(), surface()->height() / 2);
            const int y = beyond > 0 ? surface()->height() + beyond : beyond < 0 ? beyond : middle.y() + 1;
            const QSignalSpy scrolled(bar(), &QScrollBar::valueChanged);
            bool hadTime = false; // enough for the first scroll step
            QTest::mousePress(surface(), Qt::LeftButton, {}, middle);
            QTest::mouseMove(surface(), {middle.x(), y});
            QTimer::singleShot(150, this, [&hadTime] { hadTime = true; });
            QTRY_VERIFY(hadTime);
            QCOMPARE(scrolled.isEmpty() ? before : scrolled.at(0).at(0).toInt(), before + beyond);
            if (beyond > 50) { // it scrolls to the end
                QTRY_COMPARE(bar()->value(), bar()->maximum());
                QTRY_VERIFY(m_view->selectedText().endsWith(u"last"));
            }
            QTest::mouseRelease(surface(), Qt::LeftButton, {}, middle);
        }
    }

    void theSelectionIsPainted()
    {
        const auto colorAt = [this](int index, const QString& word) {
            const QRect caret = m_view->caretRect(index, m_view->bubble(index).text().indexOf(word));
            return surface()->grab().toImage().pixelColor(caret.topLeft() + QPoint(2, 1));
        };
        const QColor blue = colorAt(0, u"question"_s);
        const QColor light = colorAt(1, u"answer"_s);
        QTest::mouseDClick(surface(), Qt::LeftButton, {}, pointAt(0, u"question"_s, 3));
        QCOMPARE(colorAt(0, u"question"_s), m_view->palette().color(QPalette::Base));
        QCOMPARE(colorAt(0, u"first"_s), blue);
        QTest::mouseDClick(surface(), Qt::LeftButton, {}, pointAt(1, u"answer"_s, 3));
        QCOMPARE(colorAt(1, u"answer"_s), m_view->palette().color(QPalette::Highlight));
        QCOMPARE(colorAt(1, u"an"_s), light);
        QCOMPARE(colorAt(0, u"question"_s), blue);
    }

    void thePointerTellsWhereTextIs()
    {
        moveMouse(pointAt(1, u"answer"_s));
        QCOMPARE(surface()->cursor().shape(), Qt::IBeamCursor);
        moveMouse({surface()->width() - 10, m_view->bubbleRect(1).center().y()});
        QCOMPARE(surface()->cursor().shape(), Qt::ArrowCursor);
    }

    void theKeyboardEntersAtTheNewestBubble()
    {
        m_before->setFocus();
        QTest::keyClick(m_before, Qt::Key_Tab);
        QVERIFY(m_view->hasFocus());
        QCOMPARE(m_view->currentBubble(), 1);
        QTest::keyClick(m_view, Qt::Key_Up);
        QTest::keyClick(m_view, Qt::Key_Tab);
        QVERIFY(!m_view->hasFocus());
        QTest::keyClick(m_before, Qt::Key_Tab);
        QCOMPARE(m_view->currentBubble(), 0); // the bubble that was current before
    }

    void theKeyboardPassesAnEmptyTranscript()
    {
        m_view->clear();
        m_before->setFocus();
        QTest::keyClick(m_before, Qt::Key_Tab);
        for (const int key : {Qt::Key_Up, Qt::Key_Down, Qt::Key_Home, Qt::Key_End, Qt::Key_PageUp})
            QTest::keyClick(m_view, static_cast<Qt::Key>(key));
        QTest::keySequence(m_view, QKeySequence::SelectAll);
        QTest::keySequence(m_view, QKeySequence::Copy);
        QCOMPARE(m_view->currentBubble(), -1);
        QCOMPARE(clipboardText(), QString());
    }

    void keysGoFromBubbleToBubble()
    {
        for (int number = 0; number < 30; ++number)
            m_view->append(Speaker::Nelo, QString::number(number));
        const int value = bar()->value();
        QTest::keyClick(m_view, Qt::Key_PageUp);
        QVERIFY(bar()->value() < value - surface()->height() / 2);
        QTest::keyClick(m_view, Qt::Key_PageDown);
        QCOMPARE(bar()->value(), value);
        m_view->setCurrentBubble(31);
        const auto goesTo = [this](Qt::Key key, int index) {
            QTest::keyClick(m_view, key);
            QCOMPARE(m_view->currentBubble(), index);
            QVERIFY(surface()->rect().contains(m_view->bubbleRect(index)));
        };
        for (int index = 30; index >= 0; --index)
            goesTo(Qt::Key_Up, index);
        goesTo(Qt::Key_Up, 0);
        goesTo(Qt::Key_Down, 1);
        goesTo(Qt::Key_End, 31);
        goesTo(Qt::Key_Down, 31);
        goesTo(Qt::Key_Home, 0);
    }

    void theWheelScrolls()
    {
        m_view->append(Speaker::Nelo, u"line\n"_s.repeated(300) + u"last"_s);
        const int value = bar()->value();
        QWheelEvent up({9, 9}, surface()->mapToGlobal(QPointF(9, 9)), {}, {0, 120}, {}, {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(surface(), &up);
        QVERIFY(bar()->value() < value);
    }

    void copyTakesTheSelectionOrTheWholeBubble()
    {
        const QString text = u"a\r\nb\u2028c\td <b>e</b> \u200F👨‍👩‍👧‍👦"_s;
        m_view->append(Speaker::Nelo, text);
        m_view->setCurrentBubble(2);
        QTest::keySequence(m_view, QKeySequence::Copy);
        QCOMPARE(clipboardText(), text);
        m_view->setCurrentBubble(0);
        QTest::keySequence(m_view, QKeySequence::SelectAll);
        QCOMPARE(m_view->selectedText(), m_view->bubble(0).text());
        QTest::keySequence(m_view, QKeySequence::Copy);
        QCOMPARE(clipboardText(), m_view->bubble(0).text());
    }

    void shiftedKeysSelect()
    {
        using enum QKeySequence::StandardKey;
        const QString text = u"first question, in two\nparagraphs of some words"_s;
        const CaseTable<QList<QKeySequence::StandardKey>, QString> cases{
            {"a letter on", {SelectNextChar}, u"f"_s},
            {"and back again", {SelectNextChar, SelectNextChar, SelectPreviousChar}, u"f"_s},
            {"a word on", {SelectNextWord}, u"first"_s},
            {"a word back", {SelectNextWord, SelectNextWord, SelectPreviousWord}, u"first "_s},
            {"to the end of the line", {SelectEndOfLine}, u"first question, in two"_s},
            {"and to its start", {SelectNextWord, SelectStartOfLine}, {}},
            {"to the end of the text", {SelectEndOfDocument}, text},
            {"and to its start again", {SelectEndOfDocument, SelectStartOfDocument}, {}},
            {"a line down from the end of a line is its end", {SelectEndOfLine, SelectNextLine}, text},
            {"a line up goes back", {SelectEndOfDocument, SelectPreviousLine}, u"first question, in two"_s},
        };
        for (const auto& [keys, selected] : cases) {
            m_view->setCurrentBubble(1); // which drops the selection
            m_view->setCurrentBubble(0);
            for (const QKeySequence::StandardKey key : keys)
                QTest::keySequence(m_view, key);
            QCOMPARE(m_view->selectedText(), selected);
        }
    }

    void keysThatAreUsedGoNoFurther()
    {
        m_view->setFocus(Qt::TabFocusReason);
        for (const QKeySequence::StandardKey key : {QKeySequence::SelectAll, QKeySequence::Copy,
                                                    QKeySequence::SelectPreviousChar, QKeySequence::SelectNextWord}) {
            const QKeyCombination combination = QKeySequence(key)[0];
            QKeyEvent event(QEvent::KeyPress, combination.key(), combination.keyboardModifiers());
            QApplication::sendEvent(m_view, &event);
            QVERIFY2(event.isAccepted(), qPrintable(QKeySequence(key).toString()));
        }
        QKeyEvent other(QEvent::KeyPress, Qt::Key_F9, Qt::NoModifier);
        QApplication::sendEvent(m_view, &other);
        QVERIFY(!other.isAccepted());
    }

    void theSelectionScrollsIntoSightAndStaysUntilTheBubblesAreCleared()
    {
        m_view->append(Speaker::Nelo, u"line\n"_s.repeated(3000) + u"last"_s);
        m_view->setCurrentBubble(2);
        QTest::keySequence(m_view, QKeySequence::SelectEndOfDocument);
        const QString text = m_view->bubble(2).text();
        QCOMPARE(m_view->selectedText(), text);
        QVERIFY(surface()->rect().contains(m_view->caretRect(2, text.size()).center()));
        QTest::keySequence(m_view, QKeySequence::SelectPreviousLine);
        QCOMPARE(m_view->selectedText(), text.chopped(5));
        m_view->append(Speaker::Nelo, u"another"_s);
        QCOMPARE(m_view->selectedText(), text.chopped(5));
        QCOMPARE(m_view->currentBubble(), 2);
        m_view->clear();
        QCOMPARE(m_view->selectedText(), QString());
        QCOMPARE(m_view->currentBubble(), -1);
    }

    void theFocusIsVisibleToTheKeyboardOnly()
    {
        QTest::mouseClick(surface(), Qt::LeftButton, {}, pointAt(1, u"answer"_s));
        const QImage clicked = surface()->grab().toImage();
        m_view->setFocus(Qt::TabFocusReason);
        const QImage focused = surface()->grab().toImage();
        QVERIFY(focused != clicked);
        const QRect bubble = m_view->bubbleRect(1);
        const auto isRing = [this, &focused](QPoint point) {
            return focused.pixelColor(point) == m_view->palette().color(QPalette::Highlight);
        };
        for (int inside = 0; inside < 6; ++inside) { // the ring is two pixels wide and two pixels from each side
            const bool isExpected = inside == 2 || inside == 3;
            QCOMPARE(isRing({bubble.center().x(), bubble.top() + inside}), isExpected);
            QCOMPARE(isRing({bubble.center().x(), bubble.bottom() - inside}), isExpected);
            QCOMPARE(isRing({bubble.left() + inside, bubble.center().y()}), isExpected);
            QCOMPARE(isRing({bubble.right() - inside, bubble.center().y()}), isExpected);
        }
        m_before->setFocus();
        QCOMPARE(surface()->grab().toImage(), clicked);
    }

    void theContextMenuCopies()
    {
        const auto openMenuAt = [this](QPoint point, QContextMenuEvent::Reason reason) {
            QContextMenuEvent event(reason, point, surface()->mapToGlobal(point));
            QApplication::sendEvent(surface(), &event);
        };
        const auto copyFromMenuAt = [&openMenuAt](QPoint point, QContextMenuEvent::Reason reason) {
            pickFromMenu(u"Copy"_s);
            openMenuAt(point, reason);
            return clipboardText();
        };
        QCOMPARE(copyFromMenuAt(pointAt(1, u"answer"_s), QContextMenuEvent::Mouse), u"an answer"_s);
        QTest::mouseDClick(surface(), Qt::LeftButton, {}, pointAt(0, u"question"_s, 3));
        QCOMPARE(copyFromMenuAt(pointAt(0, u"first"_s), QContextMenuEvent::Mouse), u"question"_s);
        m_view->setCurrentBubble(1);
        QCOMPARE(copyFromMenuAt({0, 0}, QContextMenuEvent::Keyboard), u"an answer"_s);

        openMenuAt({5, m_view->bubbleRect(0).center().y()}, QContextMenuEvent::Mouse);
        QVERIFY(!QApplication::activePopupWidget()); // no menu opens beside the bubbles
    }

private:
    QWidget* surface() const { return m_view->viewport(); }
    QScrollBar* bar() const { return m_view->verticalScrollBar(); }
    /// Returns the point at the right of the caret before letter number `letter` of `word`.
    QPoint pointAt(int index, const QString& word, int letter = 0) const
    {
        const qsizetype position = m_view->bubble(index).text().indexOf(word) + letter;
        return m_view->caretRect(index, position).center() + QPoint(1, 0);
    }
    void moveMouse(QPoint to, Qt::MouseButtons pressed = {}) const
    {
        QMouseEvent move(QEvent::MouseMove, to, surface()->mapToGlobal(to), Qt::NoButton, pressed, {});
        QApplication::sendEvent(surface(), &move);
    }
    void drag(QPoint from, QPoint to) const
    {
        QTest::mousePress(surface(), Qt::LeftButton, {}, from);
        QTest::mouseMove(surface(), to);
        QTest::mouseRelease(surface(), Qt::LeftButton, {}, to);
    }
    static QString clipboardText() { return QGuiApplication::clipboard()->text(); }
    /// Chooses the item of the menu that opens next.
    static void pickFromMenu(const QString& item)
    {
        QTimer::singleShot(0, qApp, [item] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            QVERIFY(menu);
            for (QAction* action : menu->actions()) {
                if (action->text() == item)
                    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
            }
            QVERIFY2(!menu->isVisible(), "no such item");
        });
    }

    Fresh<QWidget> m_window{this};
    QLineEdit* m_before = nullptr;
    TranscriptView* m_view = nullptr;
};

QTEST_MAIN(TestTranscriptView)
#include "TestTranscriptView.moc"
