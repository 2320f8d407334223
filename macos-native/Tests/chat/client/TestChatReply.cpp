#include "chat/client/ChatReply.h"
#include "chat/core/ChatReport.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// The interpretation of a transfer, without a network.
class TestChatReply final : public TestCase
{
    Q_OBJECT

private slots:
    void aGoodReplyIsItsTrimmedText()
    {
        const CaseTable<int, QByteArray, QString, int> cases{
            {"a text", 200, bodyWith(R"("hello")"), u"hello"_s, 5},
            {"Chinese", 200, bodyWith(R"("你好")"), u"你好"_s, 2},
            {"escaped Chinese", 200, bodyWith(R"("\u4f60\u597d")"), u"你好"_s, 2},
            {"a family counts once", 200, bodyWith("\"👨‍👩‍👧‍👦\""), u"👨‍👩‍👧‍👦"_s, 1},
            {"blanks and newlines around it", 200, bodyWith(R"(" \n\t a\n\n b \r\n\u00a0\u3000\u2029")"), u"a\n\n b"_s,
             5},
            {"only blanks and a newline", 200, bodyWith(R"("  \n")"), u"(empty)"_s, 0},
            {"an empty text", 200, bodyWith(R"("")"), u"(empty)"_s, 0},
            {"markup stays as it is", 200, bodyWith(R"("<b>%1</b>")"), u"<b>%1</b>"_s, 9},
            {"a zero character stays", 200, bodyWith(R"("a\u0000b")"), u"a"_s + QChar(0) + u"b"_s, 3},
            {"half a surrogate pair stays", 200, bodyWith(R"("a\ud83d")"), u"a"_s + QChar(0xd83d), 2},
            {"201", 201, bodyWith(R"("x")"), u"x"_s, 1},
            {"204 with a body all the same", 204, bodyWith(R"("x")"), u"x"_s, 1},
            {"299", 299, bodyWith(R"("x")"), u"x"_s, 1},
            {"the first of several choices", 200,
             R"({"choices":[{"message":{"content":"a"}},{"message":{"content":"b"}}]})", u"a"_s, 1},
            {"other members and blanks between", 200,
             R"( { "id" : 1, "choices" : [ { "index":0, "message":{"role":"x","content":"a"} } ] } )", u"a"_s, 1},
            {"a second choice without a message", 200, R"({"choices":[{"message":{"content":"a"}},{}]})", u"a"_s, 1},
            {"a byte-order mark before it", 200, "\xef\xbb\xbf" + bodyWith(R"("a")"), u"a"_s, 1},
            {"the last of two equal members", 200, R"({"choices":[],"choices":[{"message":{"content":"a"}}]})", u"a"_s,
             1},
        };
        for (const auto& [status, body, text, characters] : cases) {
            const LoggedOutcome result = interpret(status, body);
            QVERIFY(std::holds_alternative<ChatText>(result.outcome));
            QCOMPARE(std::get<ChatText>(result.outcome).text, text);
            QCOMPARE(result.logEntry, u"callChatAPI success: status=%1 responseChars=%2"_s.arg(status).arg(characters));
        }
    }

    void aBodyWithoutAReplyMissesItsChoices()
    {
        for (const QByteArray& body : {
                 QByteArray(""),
                 QByteArray("<html>\n</html>"),
                 QByteArray("[1]"),
                 QByteArray(R"({"error":{"message":"x"}})"),
                 QByteArray(R"({"choices":null})"),
                 QByteArray(R"({"choices":{"message":{"content":"a"}}})"),
                 QByteArray(R"({"choices": []})"),
                 QByteArray(R"({"choices":["a"]})"),
                 QByteArray(R"({"choices":[{"message":{"content":"a"}},"b"]})"),
                 QByteArray(R"({"choices":[{"text":"a"}]})"),
                 QByteArray(R"({"choices":[{"message":"a"}]})"),
                 QByteArray(R"({"choices":[{},{"message":{"content":"a"}}]})"),
                 QByteArray(R"({"choices":[{"message":{}}]})"),
                 QByteArray(R"({"Choices":[{"message":{"content":"a"}}]})"),
                 bodyWith("null"),
                 bodyWith("1"),
                 bodyWith(R"([{"text":"a"}])"),
                 bodyWith(R"("a")") + "x",
                 QByteArray(100'000, '['),
             }) {
            const LoggedOutcome expected{NeloChatError{u"response missing choices"_s},
                                         u"callChatAPI parse error: missing choices body="_s + QString::fromUtf8(body)};
            QVERIFY2(interpret(200, body) == expected, body.left(100).constData());
        }
    }

    void anotherStatusIsAFailureWithItsBody()
    {
        const CaseTable<int, QByteArray, QString> cases{
            {"401 with a provider's error", 401, R"({"error":{"message":"bad key"}})",
             QStringLiteral(R"({"error":{"message":"bad key"}})")},
            {"a good reply does not help", 500, bodyWith(R"("a")"), QString::fromUtf8(bodyWith(R"("a")"))},
            {"several lines", 502, "<html>\n502\n", u"<html>\n502\n"_s},
            {"signs of a format", 400, "%1 %2 %n", u"%1 %2 %n"_s},
            {"an empty body", 503, "", {}},
            {"a body that is not UTF-8", 500, "caf\xe9", {}},
            {"a body that ends within a character", 500, "a\xe4\xbd", {}},
            {"an encoded half of a surrogate pair", 500, "\xed\xa0\xbd", {}},
            {"a replacement character is text", 500, "\xef\xbf\xbd", u"\ufffd"_s},
            {"a byte-order mark is kept", 500, "\xef\xbb\xbfx", u"\ufeffx"_s},
            {"199", 199, "x", u"x"_s},
            {"300", 300, "x", u"x"_s},
            {"302", 302, "moved", u"moved"_s},
            {"2 MB, unshortened", 500, QByteArray(2'000'000, 'x'), QString(2'000'000, QLatin1Char('x'))},
        };
        for (const auto& [status, body, text] : cases) {
            const LoggedOutcome result = interpret(status, body);
            const QString number = QString::number(status);
            QVERIFY(std::holds_alternative<NeloChatError>(result.outcome));
            QCOMPARE(errorDescription(result.outcome), u"HTTP "_s + number + u": "_s + text);
            QCOMPARE(result.logEntry, u"callChatAPI HTTP error: status="_s + number + u" body="_s + text);
        }
    }

    void aTransferWithoutAnHttpReplyIsAFailure()
    {
        for (const int status : {200, 204, 304, 500}) {
            const LoggedOutcome empty{NeloChatError{u"empty response"_s},
                                      u"callChatAPI empty response body, status=%1"_s.arg(status)};
            QCOMPARE(interpretChatReply({std::nullopt, status, std::nullopt}), empty);
        }
        const LoggedOutcome invalid{NeloChatError{u"invalid response"_s}, u"callChatAPI invalid response type"_s};
        const ChatTransportError error{u"Connection closed"_s};
        const LoggedOutcome failed{error, u"callChatAPI transport error: Connection closed"_s};
        for (const auto& body : {std::optional<QByteArray>(), std::optional(bodyWith(R"("a")"))}) {
            QCOMPARE(interpretChatReply({std::nullopt, std::nullopt, body}), invalid);
            for (const auto& status : {std::optional<int>(), std::optional(200), std::optional(500)})
                QCOMPARE(interpretChatReply({error, status, body}), failed);
        }
        QCOMPARE(errorDescription(failed.outcome), u"Connection closed"_s);
        QCOMPARE(errorDescription(ChatText{u"a"_s}), QString());
    }

    void anIncompleteReplyIsNoReply()
    {
        const QByteArray whole = bodyWith(R"("你好")");
        for (qsizetype length = 0; length < whole.size(); ++length)
            QCOMPARE(errorDescription(interpret(200, whole.first(length)).outcome), u"response missing choices"_s);
    }

private:
    static LoggedOutcome interpret(int status, const QByteArray& body)
    {
        return interpretChatReply({std::nullopt, status, body});
    }

    static QByteArray bodyWith(const QByteArray& content)
    {
        return R"({"choices":[{"message":{"content":)" + content + "}}]}";
    }
};

QTEST_GUILESS_MAIN(TestChatReply)
#include "TestChatReply.moc"
