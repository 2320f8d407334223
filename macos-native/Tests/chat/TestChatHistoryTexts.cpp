#include "chat/ChatViewController.h"

#include "base/Json.h"
#include "chat/StoredMessages.h"
#include "chat/core/NeloChatMessage.h"
#include "chat/transcript/TranscriptView.h"
#include "support/Cases.h"
#include "support/Corpora.h"
#include "support/TestCase.h"
#include "support/TestHome.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The texts of a public suite for JSON parsers as history files, and in them.
class TestChatHistoryTexts final : public TestCase
{
    Q_OBJECT

private slots:
    void everyTextIsReadAsJson_data()
    {
        const Cases<QByteArray> add("text");
        const QList<JsonText> texts = Corpora::jsonTexts();
        QVERIFY(texts.size() > 300);
        for (const JsonText& row : texts)
            add(row.name.constData(), row.text);
    }

    void everyTextIsReadAsJson()
    {
        QFETCH(QByteArray, text);
        // None of the texts is a list of records: as the file, each begins the conversation anew.
        storeHistory(text);
        QCOMPARE(shown(), QStringList{neloWelcomeMessage});
        QCOMPARE(Files::contentOf(neloChatHistoryURL()), text); // nothing was written yet

        Conversation conversation(1h);
        conversation.load();
        conversation.persistMessages();
        conversation.appendMessage(userRole, u"second"_s);
        conversation.persistMessages();
        QCOMPARE(storedMessages(), conversation.messages());
        const QStringList copies = Files::names(m_home->path(u".nelo"_s)).filter(u".unreadable."_s);
        QCOMPARE(copies.size(), isEmptyList(text) ? 0 : 1);
        if (!copies.isEmpty())
            QCOMPARE(Files::contentOf(m_home->path(u".nelo/"_s + copies.first())), text);

        // In place of a content it must be a string.
        const QByteArray value = withoutList(text); // most strings of the suite are in a list
        storeHistory(historyWith("\"content\":" + value));
        const QList<NeloChatMessage> messages = storedMessages();
        const Json parsed = Json::parse(value.toStdString(), nullptr, false);
        if (expectation() == 'y' && parsed.is_string())
            QCOMPARE(messages.value(0).content, textOf(parsed));
        else if (expectation() != 'i')
            QVERIFY(messages.isEmpty());
        QCOMPARE(shown(), QStringList{messages.isEmpty() ? neloWelcomeMessage : messages.first().content});

        // Under another key it must be JSON.
        storeHistory(historyWith("\"content\":\"kept\",\"more\":" + text));
        if (expectation() != 'i')
            QCOMPARE(storedMessages().size(), expectation() == 'y' ? 1 : 0);
        QCOMPARE(shown(), QStringList{storedMessages().isEmpty() ? neloWelcomeMessage : u"kept"_s});
    }

private:
    /// Returns whether a parser must accept the case ('y'), must refuse it ('n'), or may do either ('i').
    static char expectation() { return QTest::currentDataTag()[0]; }

    /// Returns what is between the brackets of a list, and any other text as it is.
    static QByteArray withoutList(const QByteArray& json)
    {
        return json.startsWith('[') && json.endsWith(']') ? json.sliced(1).chopped(1) : json;
    }

    static bool isEmptyList(const QByteArray& json)
    {
        QByteArray marks = json;
        for (const char blank : {' ', '\t', '\n', '\r'})
            marks.replace(blank, "");
        return marks == "[]";
    }

    /// Returns the texts that a new chat window shows.
    static QStringList shown()
    {
        ChatViewController chat;
        chat.loadViewIfNeeded();
        const auto* transcript = chat.findChild<TranscriptView*>(u"transcriptScroll"_s);
        QStringList bubbles;
        for (int index = 0; index < transcript->count(); ++index)
            bubbles.append(transcript->bubble(index).text());
        return bubbles;
    }

    /// Returns a list of one record, which has `members`.
    static QByteArray historyWith(const QByteArray& members)
    {
        return R"([{"role":"user","createdAt":"2025-01-31T09:30:00Z",)" + members + "}]";
    }

    Fresh<TestHome> m_home{this};
};

QTEST_MAIN(TestChatHistoryTexts)
#include "TestChatHistoryTexts.moc"
