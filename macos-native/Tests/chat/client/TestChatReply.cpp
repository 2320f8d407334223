#include "chat/client/ChatReply.h"
#include "chat/core/ChatReport.h"

#include "support/Cases.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

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
class TestChatReply final : public TestCase
{
    Q_OBJECT

private slots:
    void aGoodReplyIsItsTrimmedText_data()
    {
        const Cases<int, QByteArray, QString, int> add("status", "body", "text", "characters");
        add("a text", 200, bodyWith(R"("hello")"), u"hello"_s, 5);
        add("Chinese", 200, bodyWith(R"("你好")"), u"你好"_s, 2);
        add("escaped Chinese", 200, bodyWith(R"("\u4f60\u597d")"), u"你好"_s, 2);
        add("a family counts once", 200, bodyWith("\"👨‍👩‍👧‍👦\""), u"👨‍👩‍👧‍👦"_s, 1);
        add("blanks and newlines around it", 200, bodyWith(R"(" \n\t a\n\n b \r\n\u00a0\u3000\u2029")"), u"a\n\n b"_s,
            5);
        add("only blanks and a newline", 200, bodyWith(R"("  \n")"), u"(empty)"_s, 0);
        add("an empty text", 200, bodyWith(R"("")"), u"(empty)"_s, 0);
        add("markup stays as it is", 200, bodyWith(R"("<b>%1</b>")"), u"<b>%1</b>"_s, 9);
        add("a zero character stays", 200, bodyWith(R"("a\u0000b")"), u"a"_s + QChar(0) + u"b"_s, 3);
        add("half a surrogate pair stays", 200, bodyWith(R"("a\ud83d")"), u"a"_s + QChar(0xd83d), 2);
        add("201", 201, bodyWith(R"("x")"), u"x"_s, 1);
        add("204 with a body all the same", 204, bodyWith(R"("x")"), u"x"_s, 1);
        add("299", 299, bodyWith(R"("x")"), u"x"_s, 1);
        add("the first of several choices", 200,
            R"({"choices":[{"message":{"content":"a"}},{"message":{"content":"b"}}]})", u"a"_s, 1);
        add("other members and blanks between", 200,
            R"( { "id" : 1, "choices" : [ { "index":0, "message":{"role":"x","content":"a"} } ] } )", u"a"_s, 1);
        add("a second choice without a message", 200, R"({"choices":[{"message":{"content":"a"}},{}]})", u"a"_s, 1);
        add("a byte-order mark before it", 200, "\xef\xbb\xbf" + bodyWith(R"("a")"), u"a"_s, 1);
        add("the last of two equal members", 200, R"({"choices":[],"choices":[{"message":{"content":"a"}}]})", u"a"_s,
            1);
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
        QCOMPARE(result.logEntry, u"callChatAPI success: status=%1 responseChars=%2"_s.arg(status).arg(characters));
    }

    void aBodyWithoutAReplyMissesItsChoices_data()
    {
        const Cases<QByteArray> add("body");
        add("no bytes", "");
        add("text that is not JSON", "<html>\n</html>");
        add("a list", "[1]");
        add("no choices", R"({"error":{"message":"x"}})");
        add("choices null", R"({"choices":null})");
        add("choices an object", R"({"choices":{"message":{"content":"a"}}})");
        add("empty choices", R"({"choices": []})");
        add("a choice that is text", R"({"choices":["a"]})");
        add("text among the choices", R"({"choices":[{"message":{"content":"a"}},"b"]})");
        add("no message", R"({"choices":[{"text":"a"}]})");
        add("a message that is text", R"({"choices":[{"message":"a"}]})");
        add("a message only in the second choice", R"({"choices":[{},{"message":{"content":"a"}}]})");
        add("no content", R"({"choices":[{"message":{}}]})");
        add("content null", bodyWith("null"));
        add("content a number", bodyWith("1"));
        add("content a list of parts", bodyWith(R"([{"text":"a"}])"));
        add("another spelling", R"({"Choices":[{"message":{"content":"a"}}]})");
        add("something after the object", bodyWith(R"("a")") + "x");
        add("100,000 brackets", QByteArray(100'000, '['));
    }

    void aBodyWithoutAReplyMissesItsChoices()
    {
        QFETCH(QByteArray, body);
        const LoggedOutcome expected{NeloChatError{u"response missing choices"_s},
                                     u"callChatAPI parse error: missing choices body="_s + QString::fromUtf8(body)};
        QCOMPARE(interpret(200, body), expected);
    }

    void anotherStatusIsAFailureWithItsBody_data()
    {
        const Cases<int, QByteArray, QString> add("status", "body", "text");
        add("401 with a provider's error", 401, R"({"error":{"message":"bad key"}})",
            QStringLiteral(R"({"error":{"message":"bad key"}})"));
        add("a good reply does not help", 500, bodyWith(R"("a")"), QString::fromUtf8(bodyWith(R"("a")")));
        add("several lines", 502, "<html>\n502\n", u"<html>\n502\n"_s);
        add("signs of a format", 400, "%1 %2 %n", u"%1 %2 %n"_s);
        add("an empty body", 503, "", {});
        add("a body that is not UTF-8", 500, "caf\xe9", {});
        add("a body that ends within a character", 500, "a\xe4\xbd", {});
        add("an encoded half of a surrogate pair", 500, "\xed\xa0\xbd", {});
        add("a replacement character is text", 500, "\xef\xbf\xbd", u"\ufffd"_s);
        add("a byte-order mark is kept", 500, "\xef\xbb\xbfx", u"\ufeffx"_s);
        add("199", 199, "x", u"x"_s);
        add("300", 300, "x", u"x"_s);
        add("302", 302, "moved", u"moved"_s);
        add("2 MB, unshortened", 500, QByteArray(2'000'000, 'x'), QString(2'000'000, QLatin1Char('x')));
    }

    void anotherStatusIsAFailureWithItsBody()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, text);
        const LoggedOutcome result = interpret(status, body);
        const QString number = QString::number(status);
        QVERIFY(std::holds_alternative<NeloChatError>(result.outcome));
        QCOMPARE(errorDescription(result.outcome), u"HTTP "_s + number + u": "_s + text);
        QCOMPARE(result.logEntry, u"callChatAPI HTTP error: status="_s + number + u" body="_s + text);
    }

    void noBodyIsToldWhateverTheStatus()
    {
        for (const int status : {200, 204, 304, 500}) {
            const LoggedOutcome expected{NeloChatError{u"empty response"_s},
                                         u"callChatAPI empty response body, status=%1"_s.arg(status)};
            QCOMPARE(interpretChatReply({std::nullopt, status, std::nullopt}), expected);
        }
    }

    void whatIsNoHttpIsAnInvalidResponse()
    {
        const LoggedOutcome expected{NeloChatError{u"invalid response"_s}, u"callChatAPI invalid response type"_s};
        QCOMPARE(interpretChatReply({std::nullopt, std::nullopt, std::nullopt}), expected);
        QCOMPARE(interpretChatReply({std::nullopt, std::nullopt, bodyWith(R"("a")")}), expected);
    }

    void aTransferThatFailedIsThatWhateverElseCame()
    {
        const ChatTransportError error{u"Connection closed"_s};
        const LoggedOutcome expected{error, u"callChatAPI transport error: Connection closed"_s};
        QCOMPARE(interpretChatReply({error, std::nullopt, std::nullopt}), expected);
        QCOMPARE(interpretChatReply({error, 200, bodyWith(R"("a")")}), expected);
        QCOMPARE(interpretChatReply({error, 500, QByteArray("oops")}), expected);
        QCOMPARE(errorDescription(expected.outcome), u"Connection closed"_s);
        QCOMPARE(errorDescription(ChatText{u"a"_s}), QString());
    }

    void aReplyCutAnywhereIsNoReply()
    {
        const QByteArray whole = bodyWith(R"("你好")");
        for (qsizetype length = 0; length < whole.size(); ++length)
            QCOMPARE(errorDescription(interpret(200, whole.first(length)).outcome), u"response missing choices"_s);
    }
};

QTEST_GUILESS_MAIN(TestChatReply)
#include "TestChatReply.moc"
