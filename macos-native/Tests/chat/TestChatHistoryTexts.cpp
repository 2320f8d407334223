#include "chat/core/ChatHistory.h"

#include "base/Json.h"
#include "chat/ChatViewController.h"
#include "chat/core/ChatHistoryWriter.h"
#include "chat/core/LocalGreeting.h"
#include "chat/transcript/TranscriptView.h"
#include "support/Corpora.h"
#include "support/Files.h"
#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

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

/// Numbers and control characters that JSON has spelled otherwise. Qt reads them all the same, and as what stands
/// there, so that nothing is lost when the file is written again.
bool isReadAsItStands()
{
    static const QRegularExpression name(u"^n_(number_(-2\\.|\\.2e-3|0\\.e1|2\\.e[+-]?3|neg_real_without_int_part|"
                                         "real_without_fractional_part|starting_with_dot)|"
                                         "string_unescaped_(ctrl_char|newline|tab))$"_s);
    return name.match(QLatin1String(QTest::currentDataTag())).hasMatch();
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

void keep(const QByteArray& json)
{
    Files::create(neloChatHistoryURL(), json);
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
class TestChatHistoryTexts final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_home = std::make_unique<TestHome>();
    }

    void cleanup() { m_home.reset(); }

    void aTextAsTheFileBeginsTheConversationAnew_data() { addTexts(); }

    void aTextAsTheFileBeginsTheConversationAnew()
    {
        QFETCH(QByteArray, text);
        keep(text);
        QCOMPARE(shown(), QStringList{neloWelcomeMessage.toString()});
        QCOMPARE(Files::contentOf(neloChatHistoryURL()), text); // nobody has written yet
    }

    void aTextAsTheFileIsCopiedAsideOnceUnlessItIsAnEmptyList_data() { addTexts(); }

    void aTextAsTheFileIsCopiedAsideOnceUnlessItIsAnEmptyList()
    {
        QFETCH(QByteArray, text);
        keep(text);
        const LoadedChatHistory loaded = loadChatHistoryFile();
        QCOMPARE(loaded.messages, QList<NeloChatMessage>()); // none of the texts is a list of records
        QCOMPARE(loaded.isUnreadable, !isEmptyList(text));

        QList<NeloChatMessage> messages{NeloChatMessage::now(u"user"_s, u"first"_s)};
        {
            ChatHistoryWriter writer([&messages]() -> QList<NeloChatMessage>& { return messages; });
            if (loaded.isUnreadable)
                writer.keepUnreadableFile();
            writer.persistMessages();
            messages.append(NeloChatMessage::now(u"assistant"_s, u"second"_s));
            writer.persistMessages();
        }
        QCOMPARE(loadChatHistory(), messages);
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
        keep(historyWith("\"content\":" + value));
        const LoadedChatHistory loaded = loadChatHistoryFile();
        const Json parsed = Json::parse(value.toStdString(), nullptr, false);
        if (verdict() == 'y' && parsed.is_string()) {
            QCOMPARE(loaded.messages.size(), 1);
            QCOMPARE(loaded.messages.at(0).content, QString::fromStdString(parsed));
        } else if (isReadAsItStands() && value.startsWith('"')) {
            QCOMPARE(loaded.messages.at(0).content, QString::fromUtf8(value.sliced(1).chopped(1)));
        } else if (verdict() != 'i' && !isReadAsItStands()) {
            QVERIFY(loaded.isUnreadable);
        }
        QCOMPARE(shown(),
                 QStringList{loaded.isUnreadable ? neloWelcomeMessage.toString() : loaded.messages.at(0).content});
    }

    void aTextUnderAnotherKeyMustBeJson_data() { addTexts(); }

    void aTextUnderAnotherKeyMustBeJson()
    {
        QFETCH(QByteArray, text);
        keep(historyWith("\"content\":\"kept\",\"more\":" + text));
        const LoadedChatHistory loaded = loadChatHistoryFile();
        if (verdict() == 'n')
            QCOMPARE(loaded.isUnreadable, !isReadAsItStands());
        if (verdict() == 'y')
            QVERIFY(!loaded.isUnreadable);
        QCOMPARE(shown(), QStringList{loaded.isUnreadable ? neloWelcomeMessage.toString() : u"kept"_s});
    }

    void aTextThatWasSaidIsSaidAgain_data() { addTexts(); }

    void aTextThatWasSaidIsSaidAgain()
    {
        QFETCH(QByteArray, text);
        const QString said = QString::fromUtf8(text);
        const QList<NeloChatMessage> messages{NeloChatMessage::now(u"user"_s, said)};
        keep(encodeChatMessages(messages));
        QCOMPARE(loadChatHistory(), messages);
        QCOMPARE(shown(), QStringList{said});
    }

private:
    std::unique_ptr<TestHome> m_home;
};

QTEST_MAIN(TestChatHistoryTexts)
#include "TestChatHistoryTexts.moc"
