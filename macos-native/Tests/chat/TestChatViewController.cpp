#include "chat/ChatViewController.h"

#include "base/ApiKeyStore.h"
#include "chat/ChatWindow.h"
#include "chat/StoredMessages.h"
#include "chat/core/NeloChatMessage.h"
#include "chat/transcript/TranscriptView.h"
#include "support/Corpora.h"
#include "support/TestCase.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QInputMethodEvent>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The send flow, from the keyboard to the wire and back, with real files.
class TestChatViewController final : public TestCase
{
    Q_OBJECT

private slots:
    void showsTheStoredConversation()
    {
        QList<NeloChatMessage> kept(500, {userRole, u"question"_s, u"a"_s});
        kept.append({{assistantRole, u"answer"_s, u"b"_s}, {u"system"_s, u"other"_s, u"c"_s}});
        storeHistory(encodeChatMessages(kept));
        m_chat->open(); // this takes longer than a write
        QCOMPARE(m_chat->bubbles().size(), 502);
        QCOMPARE(m_chat->bubbles().mid(499), (QStringList{u"Me: question"_s, u"Nelo: answer"_s, u"Nelo: other"_s}));
        QCOMPARE(storedMessages(), kept);
    }

    void theConversationIsWrittenFourTenthsOfASecondAfterAChange()
    {
        QElapsedTimer sinceLoaded;
        sinceLoaded.start();
        ChatViewController chat; // with the delays that the program has
        chat.loadViewIfNeeded();
        QTRY_COMPARE(storedMessages().size(), 1);
        QVERIFY(sinceLoaded.elapsed() >= 400);
    }

    void theInputHasTheKeyboardATenthOfASecondAfterTheWindowAppears()
    {
        QCOMPARE(ChatViewController::defaultFocusDelay, 100ms);
        m_chat->open();
        QElapsedTimer sinceShown;
        qint64 elapsed = 0;
        const QObject untilTheEnd;
        connect(qApp, &QApplication::focusChanged, &untilTheEnd, [&](const QWidget* /*old*/, const QWidget* now) {
            if (now == m_chat->inputField())
                elapsed = sinceShown.elapsed();
        });
        for (int time = 0; time < 2; ++time) {
            m_chat->transcript()->setFocus();
            m_chat->window()->close();
            sinceShown.start();
            m_chat->window()->show();
            QTRY_VERIFY(m_chat->inputField()->hasFocus());
            QVERIFY2(elapsed >= ChatWindow::focusDelay.count(), qPrintable(QString::number(elapsed)));
            QVERIFY(m_chat->window()->isActiveWindow());
        }
    }

    void aWindowClosedAtOnceStaysClosed()
    {
        m_chat->open();
        m_chat->window()->close();
        m_chat->window()->show();
        QCoreApplication::processEvents();
        m_chat->window()->close();
        bool wouldHaveComeForward = false;
        QTimer::singleShot(2 * ChatWindow::focusDelay, this, [&] { wouldHaveComeForward = true; });
        QTRY_VERIFY(wouldHaveComeForward);
        QVERIFY(!m_chat->window()->isVisible());
    }

    void whatIsNotSent()
    {
        QStringList blanks{{}, u"  "_s, u"\u3000\t"_s};
        for (const QString& text : Corpora::naughtyStrings()) {
            if (text.trimmed().isEmpty() && !text.contains(u'\n'))
                blanks.append(text);
        }
        m_chat->open(); // no key is needed
        QCOMPARE(m_chat->status(), QString());
        QStringList bubbles{m_welcome};
        QStringList log;
        for (const QString& typed : blanks + QStringList{u" Hi "_s, u"HELLO"_s, u"在吗"_s}) {
            const QString greeting = typed.trimmed();
            m_chat->send(typed);
            QCOMPARE(m_chat->status(), greeting.isEmpty() ? u"empty input"_s : u"local greeting"_s);
            QCOMPARE(m_chat->inputField()->text(), greeting.isEmpty() ? typed : QString());
            QVERIFY(m_chat->inputField()->hasFocus());
            log += {u"send triggered"_s,
                    greeting.isEmpty() ? u"send aborted: empty input"_s : u"local greeting handled"_s};
            if (!greeting.isEmpty())
                bubbles += {u"Me: "_s + greeting, m_welcome};
            QCOMPARE(m_chat->bubbles(), bubbles);
        }
        QCOMPARE(m_chat->logEntries(), log);
        QTRY_COMPARE(storedMessages().size(), bubbles.size());
        QCOMPARE(storedMessages().constLast().role, assistantRole);
        QVERIFY(m_chat->server.requests().isEmpty());
    }

    void aQuestionIsSentAndAnswered()
    {
        m_chat->openWithKeys();
        QVERIFY(!ApiKeyStore().setKeys({{u"openai"_s, u" sk-padded\n"_s}}));
        m_chat->server.holdAnswers();
        m_chat->send(u"  What is the time? "_s);
        QCOMPARE(m_chat->bubbles(), (QStringList{m_welcome, u"Me: What is the time?"_s}));
        QCOMPARE(m_chat->inputField()->text(), QString());
        QCOMPARE(m_chat->status(), u"request started"_s);
        QTRY_COMPARE(m_chat->server.requests().size(), 1);
        QCOMPARE(m_chat->server.requests().first().header("Authorization"), "Bearer sk-padded");
        QTRY_COMPARE(storedMessages().size(), 2); // kept before there is an answer
        for (const QWidget* control : std::initializer_list<QWidget*>{m_chat->inputField(), m_chat->plusButton(),
                                                                      m_chat->modelPopup(), m_chat->sendButton()})
            QVERIFY(control->isEnabled()); // nothing is blocked while it waits

        m_chat->transcript()->setFocus();
        m_chat->server.answer(0, replyOf(u"Time for tea. 喝茶\n"_s));
        QTRY_COMPARE(m_chat->status(), u"request succeeded"_s);
        QCOMPARE(m_chat->bubbles().last(), u"Nelo: Time for tea. 喝茶"_s);
        QVERIFY(m_chat->inputField()->hasFocus());
        const QStringList log = m_chat->logEntries();
        QCOMPARE(log.first(), u"send triggered"_s);
        QCOMPARE(log.at(1), u"request started: provider=openai model=gpt-4o-mini messageChars=17"_s);
        QVERIFY(log.at(2).startsWith(u"callChatAPI: "_s));
        QCOMPARE(log.last(), u"request succeeded: responseChars=16"_s);
        QTRY_COMPARE(storedMessages().size(), 3);
        QCOMPARE(storedMessages().value(2).role, u"assistant"_s);
    }

    void theStepsOfASendComeInOrder()
    {
        m_chat->openWithKeys();
        m_chat->server.holdAnswers();
        QInputMethodEvent composing(u"hello there"_s, {});
        QCoreApplication::sendEvent(m_chat->inputField(), &composing);
        QStringList steps;
        const QObject untilTheEnd;
        connect(m_chat->inputField(), &QLineEdit::textChanged, &untilTheEnd, [&](const QString& text) {
            steps.append(text + u": "_s + m_chat->status() + u", "_s + m_chat->logEntries().join(u", ") + u", "_s
                         + m_chat->bubbles().last());
        });
        m_chat->sendButton()
            ->click(); // commits the composition, appends the message, clears the field and sends the request
        const QString begun = u"send triggered, send triggered, "_s;
        QCOMPARE(steps, (QStringList{u"hello there: "_s + begun + m_welcome, u": "_s + begun + u"Me: hello there"_s}));
        QCOMPARE(m_chat->status(), u"request started"_s);
        QTRY_COMPARE(m_chat->logEntries().size(), 3);
        QVERIFY(m_chat->logEntries().at(1).startsWith(u"request started: "_s));
        QVERIFY(m_chat->logEntries().at(2).startsWith(u"callChatAPI: "_s));
    }

    void theSendButtonSendsAndReturnsTheKeyboard()
    {
        m_chat->open();
        m_chat->inputField()->setText(u"hi"_s);
        QTest::mousePress(m_chat->sendButton(), Qt::LeftButton);
        QVERIFY(m_chat->inputField()->hasFocus()); // a click does not take the keyboard away
        QTest::mouseRelease(m_chat->sendButton(), Qt::LeftButton);
        QCOMPARE(m_chat->status(), u"local greeting"_s);
        m_chat->inputField()->setText(u"hello"_s);
        m_chat->sendButton()->setFocus();
        QTest::keyClick(m_chat->sendButton(), Qt::Key_Space);
        QCOMPARE(m_chat->bubbles().at(3), u"Me: hello"_s);
        QVERIFY(m_chat->inputField()->hasFocus());
    }

    void aReplyThatArrivesWhileTheWindowIsClosedIsShownLater()
    {
        m_chat->openWithKeys();
        m_chat->server.holdAnswers();
        m_chat->send(m_question);
        QTRY_COMPARE(m_chat->server.requests().size(), 1);
        m_chat->window()->close();
        m_chat->server.answer(0, replyOf(u"yes"_s));
        QTRY_COMPARE(m_chat->status(), u"request succeeded"_s);
        QVERIFY(!m_chat->window()->isVisible());
        m_chat->window()->show();
        QCOMPARE(m_chat->bubbles().last(), u"Nelo: yes"_s);
    }

    void theModelDecidesTheProvider()
    {
        m_chat->openWithKeys();
        m_chat->server.answerEach(replyOf(u"yes"_s));
        for (const auto& [model, provider] : {std::pair{u"moonshot-v1-8k"_s, u"kimi"_s}, {QString(), u"openai"_s}}) {
            m_chat->modelPopup()->setCurrentIndex(m_chat->modelPopup()->findText(model));
            const qsizetype asked = m_chat->server.requests().size();
            m_chat->send(m_question);
            QTRY_COMPARE(m_chat->server.requests().size(), asked + 1);
            const HttpRequest& request = m_chat->server.requests().last();
            QCOMPARE(request.header("Authorization"), "Bearer sk-" + provider.toUtf8());
            const QString sentModel =
                model.isEmpty() ? u"gpt-4o-mini"_s : model; // without a choice the first model is used
            QVERIFY(request.body.contains("\"model\":\"" + sentModel.toUtf8() + '"'));
            QCOMPARE(m_chat->logEntries().filter(u"request started: provider="_s + provider + u" model="_s).size(), 1);
        }
    }

    void everyMessageIsSent()
    {
        m_chat->openWithKeys();
        m_chat->server.answerInTurn({HttpAnswer::message(500, "no"), replyOf(u"reply"_s)});
        m_chat->send(u"hi"_s);
        answerDialog([this] { m_chat->send(u"first"_s); });
        m_chat->send(u"second"_s);
        QTRY_COMPARE(m_chat->status(), u"request succeeded"_s);
        m_chat->send(u"third"_s);
        QTRY_COMPARE(m_chat->server.requests().size(), 3);

        const QString greeting = u"assistant: "_s + neloWelcomeMessage;
        const QStringList expected{greeting, u"user: hi"_s, greeting, u"user: first"_s, u"user: second"_s};
        QCOMPARE(messagesOf(m_chat->server.requests().at(1)), expected);
        QCOMPARE(messagesOf(m_chat->server.requests().at(2)),
                 expected + QStringList({u"assistant: reply"_s, u"user: third"_s}));
        QVERIFY(!m_chat->server.requests().last().body.contains("createdAt"));
    }

    void aLongConversationIsSentInFullUntilItIsWritten()
    {
        storeHistory(encodeChatMessages(QList<NeloChatMessage>(300, NeloChatMessage::now(userRole, u"kept"_s))));
        m_chat->openWithKeys();
        m_chat->server.answerEach(replyOf(u"reply"_s));
        m_chat->send(u"more"_s);
        QTRY_COMPARE(m_chat->server.requests().size(), 1);
        QCOMPARE(messagesOf(m_chat->server.requests().at(0)).size(), 301);
        QTRY_COMPARE(storedMessages().size(), 200);
        QCOMPARE(m_chat->transcript()->count(), 302); // the screen keeps all messages

        m_chat->send(u"and more"_s);
        QTRY_COMPARE(m_chat->server.requests().size(), 2);
        QCOMPARE(messagesOf(m_chat->server.requests().at(1)).size(), 201);
    }

    void lettersTypedAfterAClickOnABubbleGoToTheInput()
    {
        m_chat->open();
        m_chat->transcript()->setFocus(Qt::TabFocusReason);
        const QPoint bubble = m_chat->transcript()->bubbleRect(0).center();
        QTest::mouseClick(m_chat->transcript()->viewport(), Qt::LeftButton, {}, bubble);
        QTest::keyClicks(QApplication::focusWidget(), u"and then"_s);
        QCOMPARE(m_chat->inputField()->text(), u"and then"_s);
    }

    void aSelectionIsCopiedFromTheInputAndWhenItIsOutOfSight()
    {
        m_chat->open();
        QGuiApplication::clipboard()->setText(u"before"_s);
        m_chat->transcript()->setCurrentBubble(0);
        QTest::keySequence(m_chat->inputField(), QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"before"_s); // nothing is selected
        QWidget* surface = m_chat->transcript()->viewport();
        const QPoint word = m_chat->transcript()->caretRect(0, 4).center();
        QTest::mouseDClick(surface, Qt::LeftButton, {}, word);
        const QString selected = m_chat->transcript()->selectedText();
        QVERIFY(!selected.isEmpty());
        for (int time = 0; time < 5; ++time)
            m_chat->send(u"hi"_s);
        QVERIFY(m_chat->transcript()->bubbleRect(0).bottom() < 0);
        QVERIFY(m_chat->inputField()->hasFocus());
        QTest::keySequence(m_chat->inputField(), QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), selected);

        m_chat->inputField()->setText(u"mine"_s); // the selection of the focused control is copied
        m_chat->inputField()->selectAll();
        QTest::keySequence(m_chat->inputField(), QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"mine"_s);
    }

    void repliesAreShownInTheOrderOfTheirArrival()
    {
        m_chat->openWithKeys();
        m_chat->server.holdAnswers();
        const QStringList questions{u"one"_s, u"two"_s, u"three"_s};
        for (const QString& question : questions)
            m_chat->send(question);
        QTRY_COMPARE(m_chat->server.requests().size(), 3);
        for (qsizetype index = 2; index >= 0; --index) {
            m_chat->server.answer(index, replyOf(u"re: "_s + questionOf(m_chat->server.requests().at(index))));
            QTRY_COMPARE(m_chat->bubbles().size(), 4 + 3 - index);
        }
        QCOMPARE(m_chat->bubbles().mid(4), (QStringList{u"Nelo: re: three"_s, u"Nelo: re: two"_s, u"Nelo: re: one"_s}));
    }

    void aReplyForAWindowThatIsGoneIsDropped()
    {
        m_chat->openWithKeys();
        m_chat->server.holdAnswers();
        m_chat->send(m_question);
        QTRY_COMPARE(m_chat->server.requests().size(), 1);
        QTRY_COMPARE(storedMessages().size(), 2);
        m_chat->close();
        QTRY_COMPARE(m_chat->server.openConnections(), 0);
        const QString request = u"provider=openai model=gpt-4o-mini "_s;
        QCOMPARE(m_chat->logEntries(),
                 (QStringList{u"send triggered"_s, u"request started: "_s + request + u"messageChars=17"_s,
                              u"callChatAPI: "_s + request + u"url="_s + m_chat->server.url()}));
        QCOMPARE(storedMessages().size(), 2);

        m_chat->open(); // and the question is there again
        QCOMPARE(m_chat->bubbles().last(), u"Me: "_s + m_question);
    }

private:
    const QString m_welcome = u"Nelo: "_s + neloWelcomeMessage;
    const QString m_question = u"What is the time?"_s;

    Fresh<ChatWindow> m_chat{this};
};

QTEST_MAIN(TestChatViewController)
#include "TestChatViewController.moc"
