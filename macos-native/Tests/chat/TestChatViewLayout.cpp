#include "chat/ChatWindow.h"
#include "chat/transcript/TranscriptView.h"
#include "support/Cases.h"
#include "support/TestCase.h"
#include "ui/Colors.h"

#include <QAccessible>
#include <QApplication>
#include <QFontInfo>

using namespace Qt::StringLiterals;

/// How the chat window looks, and what assistive technology reads of it.
class TestChatViewLayout final : public TestCase
{
    Q_OBJECT

private slots:
    void init()
    {
        TestCase::init();
        QApplication::setCursorFlashTime(0); // pictures are compared
        m_chat->open();
        m_picture = m_chat->window()->grab().toImage();
    }

    void everythingIsInItsPlace_data()
    {
        const Cases<QSize> add("size");
        add("at the first size", QSize(980, 740));
        add("in a larger window", QSize(1300, 900));
    }

    void everythingIsInItsPlace()
    {
        QFETCH(QSize, size);
        m_chat->window()->resize(size);
        QCoreApplication::processEvents();
        const QRect header = rectOf("header");
        const QRect transcript = rectOf("transcriptScroll");
        const QRect status = rectOf("debugLabel");
        const QRect composer = rectOf("composer");
        const QRect input = rectOf("inputField");
        const QRect plus = rectOf("plusButton");
        const QRect model = rectOf("modelPopup");
        const QRect send = rectOf("sendButton");
        const QList<int> gaps{
            header.left() - card().left(),      card().right() - header.right(),     header.top() - card().top(),
            transcript.left() - card().left(),  card().right() - transcript.right(), transcript.top() - header.bottom(),
            status.left() - card().left(),      card().right() - status.right(),     status.top() - transcript.bottom(),
            composer.left() - card().left(),    card().right() - composer.right(),   composer.top() - status.bottom(),
            card().bottom() - composer.bottom()};
        QCOMPARE(gaps, (QList<int>{24, 24, 14, 24, 24, 15, 24, 24, 9, 120, 120, 9, 18}));
        const QList<int> inComposer{input.left() - composer.left(), plus.left() - input.right(),
                                    model.left() - plus.right(), send.left() - model.right(),
                                    composer.right() - send.right()};
        QCOMPARE(inComposer, (QList<int>{18, 13, 11, 11, 16}));
        QVERIFY(header.height() < 40);
        QCOMPARE((QList<int>{composer.height(), input.height(), m_chat->inputField()->minimumWidth(), plus.width(),
                             model.width(), send.width()}),
                 (QList<int>{88, 28, 220, 28, 150, 64}));
        for (const QRect& rect : {input, plus, model, send})
            QVERIFY(qAbs(rect.center().y() - composer.center().y()) <= 1);
        QCOMPARE(QFontInfo(m_chat->find<QWidget>("debugLabel")->font()).pixelSize(), 11);
        QCOMPARE(QFontInfo(m_chat->inputField()->font()).pixelSize(), 14);
        QVERIFY(!m_chat->inputField()->hasFrame());
        QVERIFY(m_chat->find<QLabel>("header")->text().contains(u"font-size:10.5pt")); // 14 pixels at 96 dpi
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
        const QPalette before = QApplication::palette();
        QPalette dark(QColor(40, 40, 40));
        dark.setColor(QPalette::Link, Qt::yellow);
        QApplication::setPalette(dark);
        m_chat->close();
        m_chat->open();
        const QImage picture = m_chat->window()->grab().toImage();
        const auto restore = qScopeGuard([&before] { QApplication::setPalette(before); });

        QCOMPARE(picture, m_picture); // the window's colors are given, whatever the theme
    }

    void theModelsAreInOrder()
    {
        QStringList models;
        for (int index = 0; index < m_chat->modelPopup()->count(); ++index)
            models.append(m_chat->modelPopup()->itemText(index));
        QCOMPARE(models, (QStringList{u"gpt-4o-mini"_s, u"gpt-4.1-mini"_s, u"deepseek-chat"_s, u"moonshot-v1-8k"_s}));
        QCOMPARE(m_chat->modelPopup()->currentIndex(), 0);
    }

    void tabGoesThroughTheNamedControlsInReadingOrder()
    {
        QCOMPARE(m_chat->modelPopup()->accessibleName(), u"Model"_s);
        QCOMPARE(QAccessible::queryAccessibleInterface(m_chat->modelPopup())->text(QAccessible::Description),
                 u"Model"_s);
        QStringList reached;
        m_chat->find<QWidget>("header")->setFocus();
        for (int step = 0; step < 7; ++step) {
            QWidget* control = m_chat->window()->focusWidget();
            reached.append(control->objectName() + u": "_s
                           + QAccessible::queryAccessibleInterface(control)->text(QAccessible::Name));
            QTest::keyClick(control, Qt::Key_Tab);
        }
        reached.removeIf([](const QString& control) { return control.startsWith(u"header: "_s); }); // and its link
        QCOMPARE(reached.mid(0, 5),
                 (QStringList{u"transcriptScroll: Conversation"_s, u"inputField: Send a message"_s, u"plusButton: +"_s,
                              u"modelPopup: gpt-4o-mini"_s, u"sendButton: Send"_s}));
    }

private:
    /// The rectangle of a control in the window.
    QRect rectOf(const char* name) const
    {
        const auto* control = m_chat->find<QWidget>(name);
        return {control->mapTo(m_chat->window(), QPoint(0, 0)), control->size()};
    }
    /// The card's, which has no name: it is nobody's business but the layout's.
    QRect card() const { return m_chat->window()->rect().adjusted(18, 18, -18, -18); }
    QRgb pixel(QPoint point) const { return m_picture.pixel(point); }
    static QRgb white(double whiteness) { return Colors::white(whiteness).rgb(); }

    Fresh<ChatWindow> m_chat{this};
    QImage m_picture;
};

QTEST_MAIN(TestChatViewLayout)
#include "TestChatViewLayout.moc"
