#include "chat/client/ChatReply.h"
#include "chat/core/ChatReport.h"

#include "support/Warnings.h"

#include <QTest>

namespace {

LoggedOutcome interpret(int status, const QByteArray& body)
{
    return interpretChatReply({std::nullopt, status, body});
}

QByteArray bodyWith(const QByteArray& content)
{
    return R"({"choices":[{"message":{"content":)" + content + "}}]}";
}

} // namespace

/// What a transfer means, without a network.
class TestChatReply final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aGoodReplyIsItsTrimmedText_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("characters");
        QTest::newRow("a text") << 200 << bodyWith(R"("hello")") << QStringLiteral("hello") << 5;
        QTest::newRow("Chinese") << 200 << bodyWith(R"("你好")") << QStringLiteral("你好") << 2;
        QTest::newRow("escaped Chinese") << 200 << bodyWith(R"("\u4f60\u597d")") << QStringLiteral("你好") << 2;
        QTest::newRow("a family counts once")
            << 200 << bodyWith("\"👨‍👩‍👧‍👦\"") << QStringLiteral("👨‍👩‍👧‍👦") << 1;
        QTest::newRow("blanks and newlines around it")
            << 200 << bodyWith(R"(" \n\t a\n\n b \r\n\u00a0\u3000\u2029")") << QStringLiteral("a\n\n b") << 5;
        QTest::newRow("only blanks and a newline") << 200 << bodyWith(R"("  \n")") << QStringLiteral("(empty)") << 0;
        QTest::newRow("an empty text") << 200 << bodyWith(R"("")") << QStringLiteral("(empty)") << 0;
        QTest::newRow("markup stays as it is") << 200 << bodyWith(R"("<b>%1</b>")") << QStringLiteral("<b>%1</b>") << 9;
        QTest::newRow("a zero character stays")
            << 200 << bodyWith(R"("a\u0000b")") << QStringLiteral("a") + QChar(0) + QStringLiteral("b") << 3;
        QTest::newRow("half a surrogate pair stays")
            << 200 << bodyWith(R"("a\ud83d")") << QStringLiteral("a") + QChar(0xd83d) << 2;
        QTest::newRow("201") << 201 << bodyWith(R"("x")") << QStringLiteral("x") << 1;
        QTest::newRow("204 with a body all the same") << 204 << bodyWith(R"("x")") << QStringLiteral("x") << 1;
        QTest::newRow("299") << 299 << bodyWith(R"("x")") << QStringLiteral("x") << 1;
        QTest::newRow("the first of several choices")
            << 200 << QByteArray(R"({"choices":[{"message":{"content":"a"}},{"message":{"content":"b"}}]})")
            << QStringLiteral("a") << 1;
        QTest::newRow("other members and blanks between")
            << 200
            << QByteArray(R"( { "id" : 1, "choices" : [ { "index":0, "message":{"role":"x","content":"a"} } ] } )")
            << QStringLiteral("a") << 1;
        QTest::newRow("a second choice without a message")
            << 200 << QByteArray(R"({"choices":[{"message":{"content":"a"}},{}]})") << QStringLiteral("a") << 1;
        QTest::newRow("a byte-order mark before it")
            << 200 << "\xef\xbb\xbf" + bodyWith(R"("a")") << QStringLiteral("a") << 1;
        QTest::newRow("the last of two equal members")
            << 200 << QByteArray(R"({"choices":[],"choices":[{"message":{"content":"a"}}]})") << QStringLiteral("a")
            << 1;
    }

    void aGoodReplyIsItsTrimmedText()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, text);
        QFETCH(int, characters);
        const LoggedOutcome result = interpret(status, body);
        QVERIFY(std::holds_alternative<ChatText>(result.outcome));
        QCOMPARE(std::get<ChatText>(result.outcome).text, text);
        QCOMPARE(result.logEntry,
                 QStringLiteral("callChatAPI success: status=%1 responseChars=%2").arg(status).arg(characters));
    }

    void aBodyWithoutAReplyMissesItsChoices_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("no bytes") << QByteArray("");
        QTest::newRow("text that is not JSON") << QByteArray("<html>\n</html>");
        QTest::newRow("a list") << QByteArray("[1]");
        QTest::newRow("no choices") << QByteArray(R"({"error":{"message":"x"}})");
        QTest::newRow("choices null") << QByteArray(R"({"choices":null})");
        QTest::newRow("choices an object") << QByteArray(R"({"choices":{"message":{"content":"a"}}})");
        QTest::newRow("empty choices") << QByteArray(R"({"choices": []})");
        QTest::newRow("a choice that is text") << QByteArray(R"({"choices":["a"]})");
        QTest::newRow("text among the choices") << QByteArray(R"({"choices":[{"message":{"content":"a"}},"b"]})");
        QTest::newRow("no message") << QByteArray(R"({"choices":[{"text":"a"}]})");
        QTest::newRow("a message that is text") << QByteArray(R"({"choices":[{"message":"a"}]})");
        QTest::newRow("a message only in the second choice")
            << QByteArray(R"({"choices":[{},{"message":{"content":"a"}}]})");
        QTest::newRow("no content") << QByteArray(R"({"choices":[{"message":{}}]})");
        QTest::newRow("content null") << bodyWith("null");
        QTest::newRow("content a number") << bodyWith("1");
        QTest::newRow("content a list of parts") << bodyWith(R"([{"text":"a"}])");
        QTest::newRow("another spelling") << QByteArray(R"({"Choices":[{"message":{"content":"a"}}]})");
        QTest::newRow("something after the object") << bodyWith(R"("a")") + "x";
        QTest::newRow("100,000 brackets") << QByteArray(100'000, '[');
    }

    void aBodyWithoutAReplyMissesItsChoices()
    {
        QFETCH(QByteArray, body);
        const LoggedOutcome expected{NeloChatError{QStringLiteral("response missing choices")},
                                     QStringLiteral("callChatAPI parse error: missing choices body=")
                                         + QString::fromUtf8(body)};
        QCOMPARE(interpret(200, body), expected);
    }

    void anotherStatusIsAFailureWithItsBody_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("text");
        QTest::newRow("401 with a provider's error") << 401 << QByteArray(R"({"error":{"message":"bad key"}})")
                                                     << QStringLiteral(R"({"error":{"message":"bad key"}})");
        QTest::newRow("a good reply does not help")
            << 500 << bodyWith(R"("a")") << QString::fromUtf8(bodyWith(R"("a")"));
        QTest::newRow("several lines") << 502 << QByteArray("<html>\n502\n") << QStringLiteral("<html>\n502\n");
        QTest::newRow("signs of a format") << 400 << QByteArray("%1 %2 %n") << QStringLiteral("%1 %2 %n");
        QTest::newRow("an empty body") << 503 << QByteArray("") << QString();
        QTest::newRow("a body that is not UTF-8") << 500 << QByteArray("caf\xe9") << QString();
        QTest::newRow("a body that ends within a character") << 500 << QByteArray("a\xe4\xbd") << QString();
        QTest::newRow("an encoded half of a surrogate pair") << 500 << QByteArray("\xed\xa0\xbd") << QString();
        QTest::newRow("a replacement character is text")
            << 500 << QByteArray("\xef\xbf\xbd") << QStringLiteral("\ufffd");
        QTest::newRow("a byte-order mark is kept") << 500 << QByteArray("\xef\xbb\xbfx") << QStringLiteral("\ufeffx");
        QTest::newRow("199") << 199 << QByteArray("x") << QStringLiteral("x");
        QTest::newRow("300") << 300 << QByteArray("x") << QStringLiteral("x");
        QTest::newRow("302") << 302 << QByteArray("moved") << QStringLiteral("moved");
        QTest::newRow("2 MB, unshortened") << 500 << QByteArray(2'000'000, 'x') << QString(2'000'000, QLatin1Char('x'));
    }

    void anotherStatusIsAFailureWithItsBody()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, text);
        const LoggedOutcome result = interpret(status, body);
        const QString number = QString::number(status);
        QVERIFY(std::holds_alternative<NeloChatError>(result.outcome));
        QCOMPARE(errorDescription(result.outcome), QStringLiteral("HTTP ") + number + QStringLiteral(": ") + text);
        QCOMPARE(result.logEntry,
                 QStringLiteral("callChatAPI HTTP error: status=") + number + QStringLiteral(" body=") + text);
    }

    void noBodyIsToldWhateverTheStatus_data()
    {
        QTest::addColumn<int>("status");
        for (const int status : {200, 204, 304, 500})
            QTest::addRow("%d", status) << status;
    }

    void noBodyIsToldWhateverTheStatus()
    {
        QFETCH(int, status);
        const LoggedOutcome expected{NeloChatError{QStringLiteral("empty response")},
                                     QStringLiteral("callChatAPI empty response body, status=%1").arg(status)};
        QCOMPARE(interpretChatReply({std::nullopt, status, std::nullopt}), expected);
    }

    void whatIsNoHttpIsAnInvalidResponse()
    {
        const LoggedOutcome expected{NeloChatError{QStringLiteral("invalid response")},
                                     QStringLiteral("callChatAPI invalid response type")};
        QCOMPARE(interpretChatReply({std::nullopt, std::nullopt, std::nullopt}), expected);
        QCOMPARE(interpretChatReply({std::nullopt, std::nullopt, bodyWith(R"("a")")}), expected);
    }

    void aTransferThatFailedIsThatWhateverElseCame()
    {
        const ChatTransportError error{QStringLiteral("Connection closed")};
        const LoggedOutcome expected{error, QStringLiteral("callChatAPI transport error: Connection closed")};
        QCOMPARE(interpretChatReply({error, std::nullopt, std::nullopt}), expected);
        QCOMPARE(interpretChatReply({error, 200, bodyWith(R"("a")")}), expected);
        QCOMPARE(interpretChatReply({error, 500, QByteArray("oops")}), expected);
        QCOMPARE(errorDescription(expected.outcome), QStringLiteral("Connection closed"));
        QCOMPARE(errorDescription(ChatText{QStringLiteral("a")}), QString());
    }

    void aReplyCutAnywhereIsNoReply()
    {
        const QByteArray whole = bodyWith(R"("你好")");
        for (qsizetype length = 0; length < whole.size(); ++length)
            QCOMPARE(errorDescription(interpret(200, whole.first(length)).outcome),
                     QStringLiteral("response missing choices"));
    }
};

QTEST_GUILESS_MAIN(TestChatReply)
#include "TestChatReply.moc"
