#include "chat/ChatWindow.h"
#include "chat/transcript/TranscriptView.h"
#include "support/Controls.h"
#include "support/TestCase.h"
#include "ui/Colors.h"

#include <QAccessible>
#include <QApplication>
#include <QFontInfo>
#include <QTextCursor>
#include <QTextDocument>

using namespace Qt::StringLiterals;

/// How the chat window looks, and what assistive technology reads of it.
class TestChatViewLayout final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        QApplication::setCursorFlashTime(0); // pictures are compared
        m_chat->open();
        m_picture = m_chat->window()->grab().toImage();
    }

    void everythingIsInItsPlace()
    {
        for (const QSize size : {QSize(980, 740), QSize(1300, 900)}) {
            m_chat->window()->resize(size);
            QCoreApplication::processEvents();
            QList<int> gaps; // left of, right of and above each row
            int above = card().top();
            for (const char* name : {"header", "transcriptScroll", "debugLabel", "composer"}) {
                const QRect row = rectOf(name);
                gaps += {row.left() - card().left(), card().right() - row.right(), row.top() - above};
                above = row.bottom();
            }
            QCOMPARE(gaps, (QList<int>{24, 24, 14, 24, 24, 15, 24, 24, 9, 120, 120, 9}));
            QCOMPARE(card().bottom() - above, 18);
            const QRect composer = rectOf("composer");
            QList<int> gapsInComposer; // left of each control
            int left = composer.left();
            for (const char* name : {"inputField", "plusButton", "modelPopup", "sendButton"}) {
                const QRect control = rectOf(name);
                gapsInComposer += control.left() - left;
                left = control.right();
                QVERIFY(qAbs(control.center().y() - composer.center().y()) <= 1);
            }
            QCOMPARE(gapsInComposer, (QList<int>{18, 13, 11, 11}));
            QCOMPARE(composer.right() - left, 16);
        }
        QVERIFY(rectOf("header").height() < 40);
        QCOMPARE((QList<int>{rectOf("composer").height(), rectOf("inputField").height(),
                             m_chat->inputField()->minimumWidth(), rectOf("plusButton").width(),
                             rectOf("modelPopup").width(), rectOf("sendButton").width()}),
                 (QList<int>{88, 28, 220, 28, 150, 64}));
        QCOMPARE(QFontInfo(m_chat->find<QWidget>("debugLabel")->font()).pixelSize(), 11);
        QCOMPARE(QFontInfo(m_chat->inputField()->font()).pixelSize(), 14);
        QVERIFY(!m_chat->inputField()->hasFrame());
        QTextDocument header;
        header.setHtml(m_chat->find<QLabel>("header")->text());
        const QTextCursor link = header.find(u"nelo.example"_s);
        QCOMPARE(QFontInfo(link.charFormat().font()).pixelSize(), 14);
    }

    void panelsHaveTheGivenColors()
    {
        QCOMPARE(pixel({5, 5}), white(0.92));
        QCOMPARE(pixel({card().left() + 10, card().center().y()}), white(0.97));
        QCOMPARE(pixel({card().left(), card().center().y()}), white(0.88)); // the border
        QCOMPARE(pixel({card().center().x(), card().bottom()}), white(0.88));
        QCOMPARE(pixel(rectOf("composer").center() - QPoint(0, 35)), white(0.91));
        QCOMPARE(pixel({rectOf("composer").center().x(), rectOf("composer").top()}), white(0.91)); // no border
        QCOMPARE(pixel(rectOf("transcriptScroll").bottomRight() - QPoint(30, 5)), white(0.97));
    }

    void panelsHaveRoundCorners()
    {
        const auto firstPainted = [this](QPoint corner, QRgb outside) { // along the diagonal
            int steps = 0;
            while (pixel(corner + QPoint(steps, steps)) == outside)
                ++steps;
            return steps;
        };
        // A circle of radius r leaves r * (1 - 1 / sqrt 2) of the diagonal's steps outside.
        QCOMPARE(firstPainted(card().topLeft(), white(0.92)), 8);             // 28
        QCOMPARE(firstPainted(rectOf("composer").topLeft(), white(0.97)), 6); // 22
    }

    void textIsDarkUnderADarkTheme()
    {
        const auto restore = qScopeGuard([before = QApplication::palette()] { QApplication::setPalette(before); });
        QPalette dark(QColor(40, 40, 40));
        dark.setColor(QPalette::Link, Qt::yellow);
        QApplication::setPalette(dark);
        m_chat->close();
        m_chat->open();
        QCOMPARE(m_chat->window()->grab().toImage(), m_picture); // the window has colors of its own
    }

    void theModelsAreInOrder()
    {
        QCOMPARE(Controls::titles(*m_chat->modelPopup()),
                 (QStringList{u"gpt-4o-mini"_s, u"gpt-4.1-mini"_s, u"deepseek-chat"_s, u"moonshot-v1-8k"_s}));
        QCOMPARE(m_chat->modelPopup()->currentIndex(), 0);
    }

    void tabGoesThroughTheNamedControlsInReadingOrder()
    {
        m_chat->transcript()->setFocus();
        for (const auto& [control, name] : {std::pair{"transcriptScroll", u"Conversation"_s},
                                            {"inputField", u"Send a message"_s},
                                            {"plusButton", u"+"_s},
                                            {"modelPopup", u"Model"_s},
                                            {"sendButton", u"Send"_s}}) {
            QWidget* focused = m_chat->window()->focusWidget();
            QCOMPARE(focused, m_chat->find<QWidget>(control));
            QCOMPARE(QAccessible::queryAccessibleInterface(focused)->text(QAccessible::Name), name);
            QTest::keyClick(focused, Qt::Key_Tab);
        }
    }

private:
    /// Returns the rectangle of a control in the window.
    QRect rectOf(const char* name) const
    {
        const auto* control = m_chat->find<QWidget>(name);
        return {control->mapTo(m_chat->window(), QPoint(0, 0)), control->size()};
    }
    /// Returns the rectangle of the card, which has no object name.
    QRect card() const { return m_chat->window()->rect().adjusted(18, 18, -18, -18); }
    QRgb pixel(QPoint point) const { return m_picture.pixel(point); }
    static QRgb white(double whiteness) { return Colors::white(whiteness).rgb(); }

    Fresh<ChatWindow> m_chat{this};
    QImage m_picture;
};

QTEST_MAIN(TestChatViewLayout)
#include "TestChatViewLayout.moc"
