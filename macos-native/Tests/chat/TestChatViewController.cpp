#include "chat/ChatViewController.h"

#include "base/ApiKeyStore.h"
#include "chat/ChatCalls.h"
#include "chat/ChatWindow.h"
#include "chat/StoredMessages.h"
#include "chat/core/NeloChatMessage.h"
#include "chat/transcript/TranscriptView.h"
#include "support/Slowness.h"
#include "support/Warnings.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QElapsedTimer>
#include <QInputMethodEvent>
#include <QScreen>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The send flow, from the keyboard to the wire and back, with real files.
class TestChatViewController final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_chat = std::make_unique<ChatWindow>();
    }

    void cleanup() { m_chat.reset(); }

    void beginsWithTheWelcome()
    {
        m_chat->open();
        QCOMPARE(m_chat->bubbles(), QStringList{m_welcome});
        QCOMPARE(m_chat->status(), QString());
        QCOMPARE(m_chat->logEntries(), QStringList());
        QTRY_COMPARE(storedMessages().size(), 1);
        QCOMPARE(storedMessages().value(0).role, u"assistant"_s);
        QCOMPARE(storedMessages().value(0).content, neloWelcomeMessage);
    }

    void showsTheConversationThatWasKept()
    {
        QList<NeloChatMessage> kept(500, {userRole, u"question"_s, u"a"_s});
        kept.append({{assistantRole, u"answer"_s, u"b"_s}, {u"system"_s, u"other"_s, u"c"_s}});
        storeHistory(encodeChatMessages(kept));
        m_chat->open(); // which takes longer than a write would
        QCOMPARE(m_chat->bubbles().size(), 502);
        QCOMPARE(m_chat->bubbles().mid(499), (QStringList{u"Me: question"_s, u"Nelo: answer"_s, u"Nelo: other"_s}));
        QCOMPARE(storedMessages(), kept);
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

    void whatIsNotSent_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("greeting");
        QTest::newRow("nothing") << QString() << QString();
        QTest::newRow("blanks") << u"  "_s << QString();
        QTest::newRow("a Chinese blank and a tabulator") << u"\u3000\t"_s << QString();
        QTest::newRow("a greeting between blanks") << u" Hi "_s << u"Hi"_s;
        QTest::newRow("a greeting in capitals") << u"HELLO"_s << u"HELLO"_s;
        QTest::newRow("a greeting in Chinese") << u"在吗"_s << u"在吗"_s;
    }

    void whatIsNotSent()
    {
        QFETCH(QString, typed);
        QFETCH(QString, greeting);
        const bool isGreeting = !greeting.isEmpty();
        m_chat->open(); // no key is needed
        m_chat->send(typed);
        QCOMPARE(m_chat->status(), isGreeting ? u"local greeting"_s : u"empty input"_s);
        QCOMPARE(m_chat->inputField()->text(), isGreeting ? QString() : typed);
        QVERIFY(m_chat->inputField()->hasFocus());
        const QString handled = isGreeting ? u"local greeting handled"_s : u"send aborted: empty input"_s;
        QCOMPARE(m_chat->logEntries(), (QStringList{u"send triggered"_s, handled}));
        const QStringList exchange{u"Me: "_s + greeting, m_welcome};
        QCOMPARE(m_chat->bubbles(), QStringList{m_welcome} + (isGreeting ? exchange : QStringList()));
        QTRY_COMPARE(storedMessages().size(), m_chat->bubbles().size());
        QCOMPARE(storedMessages().constLast().role, assistantRole);
        QVERIFY(m_chat->server.requests().isEmpty());
    }

    void aMissingKeyKeepsTheText_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("none was ever stored") << QString();
        QTest::newRow("a key of blanks is none") << u" \n\t"_s;
    }

    void aMissingKeyKeepsTheText()
    {
        QFETCH(QString, key);
        if (!key.isEmpty())
            QVERIFY(!ApiKeyStore().setKeys({{u"kimi"_s, key}}));
        m_chat->open();
        m_chat->modelPopup()->setCurrentText(u"moonshot-v1-8k"_s);
        m_chat->transcript()->setFocus();

        const DialogRobot::Shown alert = answerDialog([this] { m_chat->send(m_question); });
        QCOMPARE(alert.title, u"API Key Required"_s);
        QCOMPARE(alert.text, u"Configure an API Key for kimi before sending."_s);
        QCOMPARE(alert.buttons, QStringList{u"OK"_s});
        QCOMPARE(m_chat->status(), u"missing api key"_s);
        QCOMPARE(m_chat->logEntries(),
                 (QStringList{u"send triggered"_s,
                              u"send aborted: missing api key for provider=kimi model=moonshot-v1-8k"_s}));
        QCOMPARE(m_chat->inputField()->text(), m_question);
        QCOMPARE(m_chat->window()->focusWidget(), m_chat->inputField());
        QCOMPARE(m_chat->bubbles(), QStringList{m_welcome});
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

        m_chat->transcript()->setFocus();
        m_chat->server.answer(0, HttpAnswer::message(200, replyBody(u"Time for tea. 喝茶\n"_s)));
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
        m_chat->sendButton()->click(); // commits, appends, clears, tells and asks
        const QString begun = u"send triggered, send triggered, "_s;
        QCOMPARE(steps, (QStringList{u"hello there: "_s + begun + m_welcome, u": "_s + begun + u"Me: hello there"_s}));
        QCOMPARE(m_chat->status(), u"request started"_s);
        QTRY_COMPARE(m_chat->logEntries().size(), 3);
        QVERIFY(m_chat->logEntries().at(1).startsWith(u"request started: "_s));
        QVERIFY(m_chat->logEntries().at(2).startsWith(u"callChatAPI: "_s));
    }

    void theSendButtonSends()
    {
        m_chat->openWithKeys();
        m_chat->replyWith(u"yes"_s);
        m_chat->inputField()->setText(m_question);
        QTest::mouseClick(m_chat->sendButton(), Qt::LeftButton);
        QVERIFY(m_chat->inputField()->hasFocus()); // a click does not take the keyboard away
        QTRY_COMPARE(m_chat->bubbles().last(), u"Nelo: yes"_s);
    }

    void theSendButtonGreetsAndReturnsTheKeyboard()
    {
        m_chat->open();
        m_chat->inputField()->setText(u"hi"_s);
        m_chat->sendButton()->setFocus();
        QTest::keyClick(m_chat->sendButton(), Qt::Key_Space);
        QCOMPARE(m_chat->status(), u"local greeting"_s);
        QVERIFY(m_chat->inputField()->hasFocus());
    }

    void theChatGoesOnWithFoldersInPlaceOfItsFiles()
    {
        QVERIFY(QDir().mkpath(m_chat->home.path(u".nelo/menubar_chat_history.json"_s)));
        QVERIFY(QDir().mkpath(m_chat->home.path(u".nelo/menubar_chat.log"_s)));
        m_chat->openWithKeys();
        m_chat->replyWith(u"yes"_s);
        m_chat->send(m_question);
        QTRY_COMPARE(m_chat->bubbles().last(), u"Nelo: yes"_s);
    }

    void aReplyWhileTheWindowIsClosedIsThereAgain()
    {
        m_chat->openWithKeys();
        m_chat->server.holdAnswers();
        m_chat->send(m_question);
        QTRY_COMPARE(m_chat->server.requests().size(), 1);
        m_chat->window()->close();
        m_chat->server.answer(0, HttpAnswer::message(200, replyBody(u"yes"_s)));
        QTRY_COMPARE(m_chat->status(), u"request succeeded"_s);
        QVERIFY(!m_chat->window()->isVisible());
        m_chat->window()->show();
        QCOMPARE(m_chat->bubbles().last(), u"Nelo: yes"_s);
    }

    void theModelDecidesTheProvider_data()
    {
        QTest::addColumn<QString>("model");
        QTest::addColumn<QString>("provider");
        QTest::newRow("the first") << u"gpt-4o-mini"_s << u"openai"_s;
        QTest::newRow("the second") << u"gpt-4.1-mini"_s << u"openai"_s;
        QTest::newRow("deepseek's") << u"deepseek-chat"_s << u"deepseek"_s;
        QTest::newRow("moonshot's") << u"moonshot-v1-8k"_s << u"kimi"_s;
        QTest::newRow("none is the first") << QString() << u"openai"_s;
    }

    void theModelDecidesTheProvider()
    {
        QFETCH(QString, model);
        QFETCH(QString, provider);
        m_chat->openWithKeys();
        m_chat->replyWith(u"yes"_s);
        m_chat->modelPopup()->setCurrentIndex(m_chat->modelPopup()->findText(model));
        m_chat->send(m_question);
        QTRY_COMPARE(m_chat->server.requests().size(), 1);
        QCOMPARE(m_chat->server.requests().first().header("Authorization"), "Bearer sk-" + provider.toUtf8());
        const QByteArray sentModel = model.isEmpty() ? "gpt-4o-mini" : model.toUtf8();
        QVERIFY(m_chat->server.requests().first().body.contains("\"model\":\"" + sentModel + '"'));
        QVERIFY(m_chat->logEntries().at(1).startsWith(u"request started: provider="_s + provider + u" model="_s));
    }

    void everyMessageIsSent()
    {
        m_chat->openWithKeys();
        m_chat->server.answerInTurn({HttpAnswer::message(500, "no"), HttpAnswer::message(200, replyBody(u"reply"_s))});
        m_chat->send(u"hi"_s);
        answerDialog([this] { m_chat->send(u"first"_s); });
        m_chat->send(u"second"_s);
        QTRY_COMPARE(m_chat->status(), u"request succeeded"_s);
        m_chat->send(u"third"_s);
        QTRY_COMPARE(m_chat->server.requests().size(), 3);

        const QString greeting = u"assistant: "_s + neloWelcomeMessage;
        const QStringList expected{greeting, u"user: hi"_s, greeting, u"user: first"_s, u"user: second"_s};
        QCOMPARE(m_chat->sentMessages(1), expected);
        QCOMPARE(m_chat->sentMessages(2), expected + QStringList({u"assistant: reply"_s, u"user: third"_s}));
        QVERIFY(!m_chat->server.requests().last().body.contains("createdAt"));
    }

    void aLongConversationIsSentInFullUntilItIsKept()
    {
        storeHistory(records(300));
        m_chat->openWithKeys();
        m_chat->replyWith(u"reply"_s);
        m_chat->send(u"more"_s);
        QTRY_COMPARE(m_chat->server.requests().size(), 1);
        QCOMPARE(m_chat->sentMessages(0).size(), 301);
        QTRY_COMPARE(storedMessages().size(), 200);
        QCOMPARE(m_chat->transcript()->count(), 302); // what is on the screen stays there

        m_chat->send(u"and more"_s);
        QTRY_COMPARE(m_chat->server.requests().size(), 2);
        QCOMPARE(m_chat->sentMessages(1).size(), 201);
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

    void aSelectionStaysCopyableOutOfSightAndFromTheInput()
    {
        m_chat->open();
        QWidget* surface = m_chat->transcript()->viewport();
        const QPoint word = m_chat->transcript()->caretRect(0, 4).center();
        QTest::mouseDClick(surface, Qt::LeftButton, {}, word);
        const QString selected = m_chat->transcript()->selectedText();
        QVERIFY(!selected.isEmpty());
        for (int time = 0; time < 5; ++time)
            m_chat->send(u"hi"_s);
        QVERIFY(m_chat->transcript()->bubbleRect(0).bottom() < 0);
        QVERIFY(m_chat->inputField()->hasFocus());
        QGuiApplication::clipboard()->setText(u"before"_s);
        QTest::keySequence(m_chat->inputField(), QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), selected);

        m_chat->inputField()->setText(u"mine"_s); // what is selected where the keyboard is comes first
        m_chat->inputField()->selectAll();
        QTest::keySequence(m_chat->inputField(), QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"mine"_s);
    }

    void copyWithoutAnySelectionLeavesTheClipboard()
    {
        m_chat->open();
        m_chat->transcript()->setCurrentBubble(0);
        QGuiApplication::clipboard()->setText(u"before"_s);
        QTest::keySequence(m_chat->inputField(), QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"before"_s);
    }

    void theWheelDoesNotChangeTheModel()
    {
        m_chat->open();
        m_chat->modelPopup()->setFocus();
        const QPointF center = m_chat->modelPopup()->rect().center();
        QWheelEvent down(center, m_chat->modelPopup()->mapToGlobal(center), {}, {0, -120}, {}, {}, Qt::NoScrollPhase,
                         false);
        QApplication::sendEvent(m_chat->modelPopup(), &down);
        QCOMPARE(m_chat->modelPopup()->currentIndex(), 0);
    }

    void repliesComeInTheirOwnOrder()
    {
        m_chat->openWithKeys();
        m_chat->server.holdAnswers();
        const QStringList questions{u"one"_s, u"two"_s, u"three"_s};
        for (const QString& question : questions)
            m_chat->send(question);
        QTRY_COMPARE(m_chat->server.requests().size(), 3);
        for (qsizetype index = 2; index >= 0; --index) {
            m_chat->server.answer(
                index,
                HttpAnswer::message(200, replyBody(u"re: "_s + questionOf(m_chat->server.requests().at(index)))));
            QTRY_COMPARE(m_chat->bubbles().size(), 4 + 3 - index);
        }
        QCOMPARE(m_chat->bubbles().mid(4), (QStringList{u"Nelo: re: three"_s, u"Nelo: re: two"_s, u"Nelo: re: one"_s}));
    }

    void nothingIsBlockedWhileWaiting()
    {
        m_chat->openWithKeys();
        m_chat->server.holdAnswers();
        m_chat->send(m_question);
        QTRY_COMPARE(m_chat->server.requests().size(), 1);
        QCOMPARE(m_chat->bubbles().size(), 2); // nothing stands in for the reply
        for (const QWidget* control : std::initializer_list<QWidget*>{m_chat->inputField(), m_chat->plusButton(),
                                                                      m_chat->modelPopup(), m_chat->sendButton()})
            QVERIFY(control->isEnabled());
    }

    void returnThatEndsACompositionDoesNotSend()
    {
        m_chat->openWithKeys();
        QInputMethodEvent composing(u"hi"_s, {});
        QCoreApplication::sendEvent(m_chat->inputField(), &composing);
        QTest::keyClick(m_chat->inputField(), Qt::Key_Return);
        QCOMPARE(m_chat->bubbles(), QStringList{m_welcome});
        QCOMPARE(m_chat->logEntries(), QStringList());
        QCOMPARE(m_chat->inputField()->text(), u"hi"_s);
    }

    void aRefusalIsShownAndTheQuestionStays()
    {
        m_chat->openWithKeys();
        m_chat->transcript()->setFocus();
        QString statusMeanwhile;
        m_chat->server.holdAnswers();
        m_chat->send(m_question);
        QTRY_COMPARE(m_chat->server.requests().size(), 1);
        QTRY_COMPARE(storedMessages().size(), 2);
        QVERIFY(QFile::remove(neloChatHistoryURL())); // a failure has it written again
        const HttpAnswer refusal = HttpAnswer::message(401, "{\"error\":\"<b>no</b>\"}");
        const auto fail = [this, &refusal] { m_chat->server.answer(0, refusal); };
        const DialogRobot::Shown alert = answerDialog(fail, [this, &statusMeanwhile](QDialog& dialog) {
            statusMeanwhile = m_chat->status();
            QTest::keyClick(&dialog, Qt::Key_Return);
        });
        QCOMPARE(alert.title, u"Request Failed"_s);
        QCOMPARE(alert.text, u"HTTP 401: {\"error\":\"<b>no</b>\"}"_s);
        QCOMPARE(alert.buttons, QStringList{u"OK"_s});
        QCOMPARE(statusMeanwhile, u"request failed"_s);
        QCOMPARE(m_chat->bubbles(), (QStringList{m_welcome, u"Me: "_s + m_question}));
        QCOMPARE(m_chat->logEntries().last(), u"request failed: "_s + alert.text);
        QCOMPARE(m_chat->window()->focusWidget(), m_chat->inputField());
        QTRY_COMPARE(storedMessages().size(), 2);
    }

    void aFailureBeforeTheRequestIsShown()
    {
        m_chat->openWithKeys();
        qputenv("NELO_OPENAI_BASE_URL", "no URL at all");
        QCOMPARE(answerDialog([this] { m_chat->send(m_question); }).text, u"invalid URL"_s);
        QCOMPARE(m_chat->bubbles().last(), u"Me: "_s + m_question);
    }

    void twoMegabytesOfHtmlLeaveTheAlertOnTheScreen()
    {
        m_chat->openWithKeys();
        const QByteArray html = "<html>" + QByteArray("<p>Bad Gateway</p>").repeated(2 * 1024 * 1024 / 18) + "</html>";
        m_chat->server.answerEach(HttpAnswer::message(502, html));
        bool isOnScreen = false;
        answerDialog([this] { m_chat->send(m_question); },
                     [&isOnScreen](QDialog& dialog) {
                         isOnScreen = dialog.screen()->availableGeometry().contains(dialog.geometry());
                         DialogRobot::press(u"OK"_s)(dialog);
                         QVERIFY(!dialog.isVisible());
                     });
        QVERIFY(isOnScreen);
        QVERIFY(Files::contentOf(m_chat->home.path(u".nelo/menubar_chat.log"_s))
                    .contains("request failed: HTTP 502: " + html));
    }

    void contentIsShownAsItCame_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("markup") << u"<b>bold</b> &amp; **stars** [link](http://x)"_s;
        QTest::newRow("both directions") << u"abc שלום \u202Eevil\u202C مرحبا"_s;
        QTest::newRow("emoji families and flags") << u"👨‍👩‍👧‍👦 🇨🇳 👍🏽"_s;
        QTest::newRow("combining marks") << u"Z\u0351\u036B\u0343\u036A\u0302a\u0300\u0301"_s;
        QTest::newRow("a word of 10,000 letters") << u"w"_s.repeated(10'000);
        QTest::newRow("100,000 lines") << u"line\n"_s.repeated(99'999) + u"last"_s;
        QTest::newRow("20 MB") << u"lorem ipsum "_s.repeated(20 * 1024 * 1024 / 12).trimmed();
    }

    void contentIsShownAsItCame()
    {
        QFETCH(QString, text);
        m_chat->openWithKeys();
        m_chat->replyWith(text);
        m_chat->send(u"show me"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_chat->status(), u"request succeeded"_s, 30'000);
        QVERIFY(m_chat->bubbles().last() == u"Nelo: "_s + text);
        QElapsedTimer timer;
        timer.start();
        m_chat->window()->grab();
        QVERIFY(timer.elapsed() < 1000 * slowness);
    }

    void theKeyIsNeverToldToAnybody()
    {
        QVERIFY(!ApiKeyStore().setKeys({{u"openai"_s, u"sk-very-secret"_s}}));
        m_chat->open();
        m_chat->server.answerInTurn({HttpAnswer::message(200, replyBody(u"yes"_s)), HttpAnswer::message(401, "no")});
        m_chat->send(u"one"_s);
        QTRY_COMPARE(m_chat->status(), u"request succeeded"_s);
        const DialogRobot::Shown alert = answerDialog([this] { m_chat->send(u"two"_s); });
        QVERIFY(!alert.text.contains(u"secret"));
        QVERIFY(!m_chat->logEntries().join(u' ').contains(u"secret"));
        QVERIFY(!Files::contentOf(neloChatHistoryURL()).contains("secret"));
        QVERIFY(!m_chat->window()->windowTitle().contains(u"secret"));
    }

    void theKeyDialogStoresWhatIsSaved_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<QString>("stored");
        QTest::newRow("Return saves, without blanks") << u" sk-new  "_s << Qt::Key_Return << u"sk-new"_s;
        QTest::newRow("nothing is saved too") << u"  "_s << Qt::Key_Return << QString();
        QTest::newRow("Escape keeps what was stored") << u"other"_s << Qt::Key_Escape << u"sk-kimi"_s;
    }

    void theKeyDialogStoresWhatIsSaved()
    {
        QFETCH(QString, typed);
        QFETCH(Qt::Key, key);
        QFETCH(QString, stored);
        m_chat->openWithKeys();
        m_chat->modelPopup()->setCurrentText(u"moonshot-v1-8k"_s);
        const auto answer = [typed, key](QDialog& dialog) {
            auto* field = dialog.findChild<QLineEdit*>();
            QVERIFY(field->hasFocus());
            QCOMPARE(field->text(), u"sk-kimi"_s);
            QCOMPARE(field->placeholderText(), u"KIMI API Key"_s);
            QCOMPARE(field->accessibleName(), u"KIMI API Key"_s);
            QCOMPARE(field->echoMode(), QLineEdit::Password);
            QCOMPARE(field->size(), QSize(280, 24));
            field->selectAll();
            QTest::keyClicks(field, typed);
            QTest::keyClick(field, key);
        };
        const DialogRobot::Shown seen =
            answerDialog([this] { QTest::mouseClick(m_chat->plusButton(), Qt::LeftButton); }, answer);
        QCOMPARE(seen.title, u"Configure API Key"_s);
        QCOMPARE(seen.text, u"kimi / moonshot-v1-8k"_s);
        QCOMPARE(seen.buttons, (QStringList{u"Cancel"_s, u"Save"_s}));
        QCOMPARE(seen.defaultButton, u"Save"_s);
        QCOMPARE(ApiKeyStore().key(u"kimi"_s), stored);
        QCOMPARE(ApiKeyStore().key(u"openai"_s), u"sk-openai"_s);
        if (stored.isEmpty())
            QCOMPARE(answerDialog([this] { m_chat->send(m_question); }).title, u"API Key Required"_s);
    }

    void aKeyThatCannotBeStoredIsTold()
    {
        Files::create(m_chat->home.path(u".config"_s), "a file where the folder should be");
        m_chat->open();
        const auto save = [](QDialog& dialog) {
            dialog.findChild<QLineEdit*>()->setText(u"sk-key"_s);
            dialog.accept();
        };
        const auto seen = answerDialogs([this] { m_chat->plusButton()->click(); }, {save, DialogRobot::press(u"OK"_s)});
        QCOMPARE(seen.size(), 2U);
        QCOMPARE(seen.back().title, u"Save Failed"_s);
        QVERIFY(!seen.back().text.contains(u"sk-key"));
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

    void theWindowMayGoWhileItAsks_data()
    {
        QTest::addColumn<QString>("about");
        QTest::newRow("for a key") << u"plus"_s;
        QTest::newRow("about a missing key") << u"missing"_s;
        QTest::newRow("about a failure") << u"failure"_s;
    }

    void theWindowMayGoWhileItAsks()
    {
        QFETCH(QString, about);
        if (about == u"missing")
            m_chat->open();
        else
            m_chat->openWithKeys();
        m_chat->server.answerEach(HttpAnswer::message(500, "no"));
        const auto ask = [this, &about] {
            m_chat->inputField()->setText(m_question);
            QPushButton* button = about == u"plus" ? m_chat->plusButton() : m_chat->sendButton();
            button->click();
        };
        const DialogRobot::Shown seen = answerDialog(ask, [this](QDialog& dialog) {
            m_chat->close();
            dialog.accept();
        });
        QVERIFY(seen.title != u"no dialog");
        QVERIFY(!m_chat->window());
    }

private:
    const QString m_welcome = u"Nelo: "_s + neloWelcomeMessage;
    const QString m_question = u"What is the time?"_s;

    static QByteArray records(int count)
    {
        QList<NeloChatMessage> messages;
        for (int number = 1; number <= count; ++number)
            messages.append(NeloChatMessage::now(u"user"_s, QString::number(number)));
        return encodeChatMessages(messages);
    }

    std::unique_ptr<ChatWindow> m_chat;
};

QTEST_MAIN(TestChatViewController)
#include "TestChatViewController.moc"
