#include "chat/ChatViewController.h"

#include "base/Json.h"
#include "chat/StoredMessages.h"
#include "chat/core/NeloChatMessage.h"
#include "chat/transcript/TranscriptView.h"
#include "support/Corpora.h"
#include "support/TestCase.h"
#include "support/TestHome.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

void addTexts()
{
    QTest::addColumn<QByteArray>("text");
    const QList<JsonText> texts = Corpora::jsonTexts();
    QVERIFY(texts.size() > 300);
    for (const JsonText& row : texts)
        QTest::newRow(row.name.constData()) << row.text;
}

/// Whether the suite has the case accepted ('y'), refused ('n') or either ('i').
char verdict()
{
    return QTest::currentDataTag()[0];
}

/// What stands in a list; any other text is itself.
QByteArray withoutList(const QByteArray& json)
{
    return json.startsWith('[') && json.endsWith(']') ? json.sliced(1).chopped(1) : json;
}

bool isEmptyList(const QByteArray& json)
{
    QByteArray marks = json;
    for (const char blank : {' ', '\t', '\n', '\r'})
        marks.replace(blank, "");
    return marks == "[]";
}

/// What the chat window shows of what is kept, before anybody has said anything.
QStringList shown()
{
    ChatViewController chat;
    chat.loadViewIfNeeded();
    const auto* transcript = chat.findChild<TranscriptView*>(u"transcriptScroll"_s);
    QStringList bubbles;
    for (int index = 0; index < transcript->count(); ++index)
        bubbles.append(transcript->bubble(index).text());
    return bubbles;
}

/// The record around `members`, in a list.
QByteArray historyWith(const QByteArray& members)
{
    return R"([{"role":"user","createdAt":"2025-01-31T09:30:00Z",)" + members + "}]";
}

} // namespace

/// The texts of a public suite for JSON parsers as history files, and in them.
class TestChatHistoryTexts final : public TestCase
{
    Q_OBJECT

private slots:
    void aTextAsTheFileBeginsTheConversationAnew_data() { addTexts(); }

    void aTextAsTheFileBeginsTheConversationAnew()
    {
        QFETCH(QByteArray, text);
        storeHistory(text);
        QCOMPARE(shown(), QStringList{neloWelcomeMessage});     // none of the texts is a list of records
        QCOMPARE(Files::contentOf(neloChatHistoryURL()), text); // nobody has written yet

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
    }

    void aTextInPlaceOfAContentMustBeAString_data() { addTexts(); }

    void aTextInPlaceOfAContentMustBeAString()
    {
        QFETCH(QByteArray, text);
        const QByteArray value = withoutList(text); // most strings of the suite stand in one
        storeHistory(historyWith("\"content\":" + value));
        const QList<NeloChatMessage> messages = storedMessages();
        const Json parsed = Json::parse(value.toStdString(), nullptr, false);
        if (verdict() == 'y' && parsed.is_string())
            QCOMPARE(messages.value(0).content, textOf(parsed));
        else if (verdict() != 'i')
            QVERIFY(messages.isEmpty());
        QCOMPARE(shown(), QStringList{messages.isEmpty() ? neloWelcomeMessage : messages.first().content});
    }

    void aTextUnderAnotherKeyMustBeJson_data() { addTexts(); }

    void aTextUnderAnotherKeyMustBeJson()
    {
        QFETCH(QByteArray, text);
        storeHistory(historyWith("\"content\":\"kept\",\"more\":" + text));
        if (verdict() != 'i')
            QCOMPARE(storedMessages().size(), verdict() == 'y' ? 1 : 0);
        QCOMPARE(shown(), QStringList{storedMessages().isEmpty() ? neloWelcomeMessage : u"kept"_s});
    }

private:
    Fresh<TestHome> m_home{this};
};

QTEST_MAIN(TestChatHistoryTexts)
#include "TestChatHistoryTexts.moc"
