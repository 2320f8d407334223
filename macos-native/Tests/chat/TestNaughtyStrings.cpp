#include "chat/ChatViewController.h"

#include "chat/ChatWindow.h"
#include "chat/StoredMessages.h"
#include "chat/core/ChatLog.h"
#include "chat/core/NeloChatMessage.h"
#include "chat/transcript/TranscriptView.h"
#include "support/Cases.h"
#include "support/Corpora.h"
#include "support/TestCase.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QTimer>

#include <chrono>
#include <string_view>

using namespace Qt::StringLiterals;
using namespace std::string_view_literals;

/// With their answers and the welcome, so many questions are fewer than the maximum that is stored.
constexpr qsizetype questionsPerConversation = 99;

/// A public list of strings that cause errors in many programs, as questions. They are pasted or come from an input
/// method in turn. Each is sent, answered with the same text, stored, and shown again by another window.
class TestNaughtyStrings final : public TestCase
{
    Q_OBJECT

private slots:
    void everyStringComesBackAsItWas_data()
    {
        const Cases<QStringList> add("strings");
        QStringList strings = Corpora::naughtyStrings();
        strings.removeIf([](const QString& text) { return questionFrom(text).isEmpty(); });
        QVERIFY(strings.size() > 450);
        for (qsizetype first = 0; first < strings.size(); first += questionsPerConversation) {
            const QStringList some = strings.mid(first, questionsPerConversation);
            const auto numbers = QByteArray::number(first + 1) + " to " + QByteArray::number(first + some.size());
            add("strings " + numbers, some);
        }
    }

    void everyStringComesBackAsItWas()
    {
        QFETCH(QStringList, strings);
        m_chat->openWithKeys();
        m_chat->server.answerBy([](const HttpRequest& request) { return replyOf(questionOf(request)); });
        QStringList conversation = m_chat->bubbles();
        QStringList log;
        for (const QString& string : strings) {
            const QString question = questionFrom(string);
            QVERIFY(!isLocalGreeting(question));
            const auto enter = log.size() % 2 == 0 ? paste : commit;
            enter(m_chat->inputField(), string);
            QTest::keyClick(m_chat->inputField(), Qt::Key_Return);
            QVERIFY(waitForAnswer());
            QCOMPARE(questionOf(m_chat->server.requests().last()), question);
            QCOMPARE(m_chat->inputField()->text(), QString());
            conversation.append({u"Me: "_s + question, u"Nelo: "_s + question});
            const QString count = QString::number(characterCount(question));
            log.append({u"send triggered"_s,
                        u"request started: provider=openai model=gpt-4o-mini messageChars="_s + count,
                        u"callChatAPI: provider=openai model=gpt-4o-mini url="_s + m_chat->server.url(),
                        u"callChatAPI success: status=200 responseChars="_s + count,
                        u"request succeeded: responseChars="_s + count});
        }
        QCOMPARE(m_chat->bubbles(), conversation);
        QCOMPARE(accessibleBubbles(m_chat->transcript()), conversation);
        QCOMPARE(m_chat->logEntries(), log);

        QTRY_COMPARE_WITH_TIMEOUT(storedMessages().size(), conversation.size(),
                                  30'000); // the writer has a low priority
        m_chat->open();
        QCOMPARE(m_chat->bubbles(), conversation);
        QCOMPARE(accessibleBubbles(m_chat->transcript()), conversation);
    }

    /// One refusal has all strings, because an alert for each would take long.
    void everyStringIsShownInAnErrorAsItIs()
    {
        m_chat->openWithKeys();
        const QString body = Corpora::naughtyStrings().join(u'\n');
        m_chat->server.answerEach(HttpAnswer::message(500, body.toUtf8()));
        const DialogRobot::Shown alert = answerDialog([this] { m_chat->send(u"What is the time?"_s); });
        QString expected = u"HTTP 500: "_s + body;
        expected.replace(QChar::ParagraphSeparator, u'\n')
            .replace(QChar::LineSeparator, u'\n'); // the control of the alert shows line feeds
        QCOMPARE(alert.text, expected);
    }

private:
    /// Returns what is sent when `typed` is entered: line breaks become blanks, and blanks at the ends are removed.
    static QString questionFrom(QString typed)
    {
        typed.replace(u"\r\n"_s, u" "_s);
        for (const char16_t lineBreak : u"\n\v\f\r\u0085\u2028\u2029"sv)
            typed.replace(lineBreak, u' ');
        return typed.trimmed();
    }

    static void paste(QLineEdit* field, const QString& text)
    {
        QGuiApplication::clipboard()->setText(text);
        QTest::keySequence(field, QKeySequence::Paste);
    }

    /// Enters `text` as an input method does.
    static void commit(QLineEdit* field, const QString& text)
    {
        QInputMethodEvent event;
        event.setCommitString(text);
        QCoreApplication::sendEvent(field, &event);
    }

    /// Returns what assistive technology reads of the transcript, in the form of `ChatWindow::bubbles()`.
    static QStringList accessibleBubbles(TranscriptView* transcript)
    {
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(transcript);
        QStringList bubbles;
        for (int index = 0; index < list->childCount(); ++index) {
            const QAccessibleInterface* bubble = list->child(index);
            bubbles.append(bubble->text(QAccessible::Description) + u": "_s + bubble->text(QAccessible::Name));
        }
        return bubbles;
    }

    /// Waits event by event. Qt's own waits sleep between two checks, which takes long with hundreds of answers.
    bool waitForAnswer() const
    {
        QTimer deadline; // ends the wait when no other event comes
        deadline.setSingleShot(true);
        deadline.start(std::chrono::seconds(30));
        while (m_chat->status() != u"request succeeded" && deadline.isActive())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return m_chat->status() == u"request succeeded";
    }

    Fresh<ChatWindow> m_chat{this};
};

QTEST_MAIN(TestNaughtyStrings)
#include "TestNaughtyStrings.moc"
