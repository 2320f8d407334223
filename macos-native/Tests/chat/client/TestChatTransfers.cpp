#include "chat/ChatCalls.h"
#include "support/Warnings.h"

#include <QElapsedTimer>
#include <QTest>

using namespace std::chrono_literals;

namespace {

/// The simplest checksum of the kind that gzip ends with.
quint32 cyclicRedundancyCheck(const QByteArray& bytes)
{
    quint32 sum = ~0U;
    for (const char byte : bytes) {
        sum ^= static_cast<uchar>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1U) != 0 ? 0xedb88320U : 0U);
    }
    return ~sum;
}

QByteArray littleEndian(quint32 number)
{
    QByteArray bytes;
    for (int byte = 0; byte < 4; ++byte, number >>= 8)
        bytes += static_cast<char>(number & 0xffU);
    return bytes;
}

QByteArray gzip(const QByteArray& bytes)
{
    // qCompress: four bytes of its own, a head of two, the compressed bytes, a checksum of four.
    const QByteArray deflated = qCompress(bytes).sliced(6).chopped(4);
    return QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\xff", 10) + deflated + littleEndian(cyclicRedundancyCheck(bytes))
           + littleEndian(static_cast<quint32>(bytes.size()));
}

HttpAnswer goodAnswer()
{
    return HttpAnswer::message(200, replyBody(QStringLiteral("hello")));
}

/// The same bytes without the line that says that the connection closes.
HttpAnswer unannounced(const HttpAnswer& answer)
{
    return HttpAnswer::rawThenClose(answer.keptAlive().bytes());
}

} // namespace

/// Transfers over real connections, most of which go wrong.
class TestChatTransfers final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_calls = std::make_unique<ChatCalls>();
    }

    void cleanup() { m_calls.reset(); }

    void everyFramingOfAReplyIsUnderstood_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        const QByteArray body = replyBody(QStringLiteral("hello"));
        const HttpAnswer chunks = HttpAnswer::chunked(200, {body.first(1), body.sliced(1, 20), body.sliced(21)});
        QTest::newRow("a length") << goodAnswer();
        QTest::newRow("a length, and the connection goes on") << goodAnswer().keptAlive();
        QTest::newRow("chunks") << chunks;
        QTest::newRow("HTTP/1.0 until the connection closes") << HttpAnswer::untilClose(200, body);
        QTest::newRow("HTTP/1.0 with a length") << HttpAnswer::rawThenClose(
            "HTTP/1.0 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
        QTest::newRow("gzip until the connection closes")
            << HttpAnswer::rawThenClose("HTTP/1.0 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + gzip(body));
        QTest::newRow("gzip") << HttpAnswer::message(200, gzip(body), {"Content-Encoding: gzip"});
        QTest::newRow("a few bytes at a time") << goodAnswer().inPieces(9, 1ms);
        QTest::newRow("chunks a few bytes at a time") << chunks.inPieces(9, 1ms);
        QTest::newRow("\"continue\" before it")
            << HttpAnswer::rawThenClose("HTTP/1.1 100 Continue\r\n\r\n" + goodAnswer().bytes());
        QTest::newRow("no reason beside the status")
            << HttpAnswer::rawThenClose(goodAnswer().bytes().replace(" Scripted", ""));
    }

    void everyFramingOfAReplyIsUnderstood()
    {
        QFETCH(HttpAnswer, answer);
        m_calls->server.answerEach(answer);
        for (int call = 1; call <= 10; ++call) { // often, because closing and reading race
            QCOMPARE(textOf(m_calls->ask()), QStringLiteral("hello"));
            QCOMPARE(m_calls->server.requests().size(), call);
        }
        for (int call = 0; call < 20; ++call)
            m_calls->start();
        QVERIFY(m_calls->waitForOutcomes(21)); // with that of the last ask()
        for (const ChatOutcome& outcome : m_calls->outcomes)
            QCOMPARE(textOf(outcome), QStringLiteral("hello"));
    }

    void aConnectionMayCloseUnannounced_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        const QByteArray body = replyBody(QStringLiteral("hello"));
        QTest::newRow("after a body that ends there") << HttpAnswer::rawThenClose("HTTP/1.1 200 OK\r\n\r\n" + body);
        QTest::newRow("after a length") << unannounced(goodAnswer());
        QTest::newRow("after chunks") << unannounced(HttpAnswer::chunked(200, {body.first(1), body.sliced(1)}));
    }

    void aConnectionMayCloseUnannounced()
    {
        QFETCH(HttpAnswer, answer);
        m_calls->server.answerEach(answer);
        for (int call = 1; call <= 10; ++call) { // often, because closing and reading race
            QCOMPARE(textOf(m_calls->ask()), QStringLiteral("hello"));
            QCOMPARE(m_calls->server.requests().size(), call);
        }
    }

    void aReplyThatBreaksOffIsATransportError_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        const QByteArray body = replyBody(QStringLiteral("hello"));
        const qsizetype headSize = goodAnswer().bytes().size() - body.size();
        const HttpAnswer refusal = HttpAnswer::message(500, "a page of excuses");
        const HttpAnswer chunks = HttpAnswer::chunked(200, {body.first(20), body.sliced(20)});
        QTest::newRow("before the first byte") << goodAnswer().cutAfter(0);
        QTest::newRow("within the status") << goodAnswer().cutAfter(10);
        QTest::newRow("within the head") << goodAnswer().cutAfter(headSize - 3);
        QTest::newRow("between head and body") << goodAnswer().cutAfter(headSize);
        QTest::newRow("within the body") << goodAnswer().cutAfter(headSize + 10);
        QTest::newRow("before the body's last byte") << goodAnswer().cutAfter(headSize + body.size() - 1);
        QTest::newRow("within the body of a refusal") << refusal.cutAfter(refusal.bytes().size() - 5);
        const HttpAnswer denial = HttpAnswer::message(401, "a page of denials");
        QTest::newRow("within the body of a denial") << denial.cutAfter(denial.bytes().size() - 5);
        QTest::newRow("within a packed body in chunks") << HttpAnswer::rawThenClose(
            "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n\r\nff\r\n"
            + gzip(body).chopped(9));
        QTest::newRow("within a chunk") << chunks.cutAfter(chunks.bytes().size() - 20);
        const HttpAnswer refusalInChunks = HttpAnswer::chunked(500, {"a page ", "of excuses"});
        const qsizetype chunksBegin = refusalInChunks.bytes().indexOf("\r\n\r\n") + 4;
        QTest::newRow("before a refusal's first chunk") << refusalInChunks.cutAfter(chunksBegin);
        QTest::newRow("within a chunk of a refusal") << refusalInChunks.cutAfter(refusalInChunks.bytes().size() - 12);
    }

    void aReplyThatBreaksOffIsATransportError()
    {
        QFETCH(HttpAnswer, answer);
        m_calls->server.answerEach(answer);
        const ChatTransportError expected{QStringLiteral("Connection closed")};
        for (int call = 1; call <= 5; ++call) {
            QVERIFY(m_calls->ask() == ChatOutcome(expected));
            QCOMPARE(m_calls->logEntries().last(), QStringLiteral("callChatAPI transport error: Connection closed"));
            QCOMPARE(m_calls->server.requests().size(), call); // what a server may have read is not sent again
        }
    }

    void aPackedReplyThatBreaksOffIsATransportError_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("missing");
        const int half = static_cast<int>(gzip(replyBody(QStringLiteral("hello"))).size()) / 2;
        QTest::newRow("an answer in its middle") << 200 << half;
        QTest::newRow("an answer before its last byte") << 200 << 1;
        QTest::newRow("a refusal in its middle") << 401 << half;
        QTest::newRow("a refusal before its last byte") << 401 << 1;
    }

    void aPackedReplyThatBreaksOffIsATransportError()
    {
        QFETCH(int, status);
        QFETCH(int, missing);
        const QByteArray packed = gzip(replyBody(QStringLiteral("hello")));
        const HttpAnswer whole = HttpAnswer::message(status, packed, {"Content-Encoding: gzip"});
        m_calls->server.answerEach(whole.cutAfter(whole.bytes().size() - missing));
        for (int call = 1; call <= 5; ++call) {
            QCOMPARE(m_calls->ask(), ChatOutcome(ChatTransportError{QStringLiteral("Connection closed")}));
            QCOMPARE(m_calls->server.requests().size(), call);
        }
    }

    void callsAtOnceAreSentOnceEach()
    {
        m_calls->server.answerEach(HttpAnswer::rawThenClose(""));
        for (int call = 0; call < 6; ++call)
            m_calls->start();
        QVERIFY(m_calls->waitForOutcomes(6));
        QCOMPARE(m_calls->server.requests().size(), 6);
    }

    void aReplyCutAtAnyByteFails()
    {
        const HttpAnswer answer = HttpAnswer::message(200, replyBody(QStringLiteral("你好")));
        for (qsizetype length = 0; length < answer.bytes().size(); ++length) {
            m_calls->server.answerEach(answer.cutAfter(length));
            QVERIFY2(std::holds_alternative<ChatTransportError>(m_calls->ask()), qPrintable(QString::number(length)));
            QCOMPARE(m_calls->server.requests().size(), length + 1);
        }
    }

    void whatIsNotHttpIsATransportError_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        QTest::newRow("lines of something else") << HttpAnswer::rawThenClose("garbage\r\n\r\nmore garbage\r\n");
        QTest::newRow("no line at all") << HttpAnswer::rawThenClose("garbage");
        QTest::newRow("zeros") << HttpAnswer::rawThenClose(QByteArray(5000, '\0'));
        QTest::newRow("another protocol's greeting, and the line stays open")
            << HttpAnswer{{{0ms, "SSH-2.0-Something\r\n"}}, HttpAnswer::End::KeepOpen};
        QTest::newRow("a page without a head") << HttpAnswer::rawThenClose("<html><body>hello</body></html>\n");
    }

    void whatIsNotHttpIsATransportError()
    {
        QFETCH(HttpAnswer, answer);
        m_calls->server.answerEach(answer);
        const ChatOutcome outcome = m_calls->ask();
        QVERIFY(std::holds_alternative<ChatTransportError>(outcome));
        QVERIFY(!errorDescription(outcome).isEmpty());
        QCOMPARE(m_calls->server.requests().size(), 1);
    }

    void aBodyThatCannotBeUnpackedIsATransportError()
    {
        m_calls->server.answerEach(HttpAnswer::message(200, "this is no gzip", {"Content-Encoding: gzip"}));
        QCOMPARE(m_calls->ask(), ChatOutcome(ChatTransportError{QStringLiteral("The answer cannot be unpacked")}));
    }

    void silenceTimesOut_data()
    {
        QTest::addColumn<HttpAnswer>("answer");
        QTest::newRow("no answer") << HttpAnswer::silence();
        QTest::newRow("half a head") << HttpAnswer{{{0ms, "HTTP/1.1 200 OK\r\nCont"}}, HttpAnswer::End::KeepOpen};
        QTest::newRow("half a body") << HttpAnswer{{{0ms, goodAnswer().bytes().chopped(5)}}, HttpAnswer::End::KeepOpen};
    }

    void silenceTimesOut()
    {
        QFETCH(HttpAnswer, answer);
        m_calls->client = std::make_unique<ChatClient>(200ms);
        m_calls->server.answerEach(answer);
        const ChatTransportError expected{QStringLiteral("The request timed out")};
        QElapsedTimer timer;
        timer.start();
        QVERIFY(m_calls->ask() == ChatOutcome(expected));
        QVERIFY2(timer.elapsed() >= 190, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(m_calls->server.requests().size(), 1);
        QTRY_COMPARE(m_calls->server.openConnections(), 0);
    }

    void aSlowReplyThatMovesDoesNotTimeOut()
    {
        m_calls->client = std::make_unique<ChatClient>(300ms);
        const QByteArray body = replyBody(QStringLiteral("hello"));
        HttpAnswer slow{{{0ms, goodAnswer().bytes().chopped(body.size())}}, HttpAnswer::End::KeepOpen};
        for (int part = 0; part < 8; ++part) // for longer than the patience for silence
            slow.pieces.append(
                {100ms, body.sliced(part * body.size() / 8, (part + 1) * body.size() / 8 - part * body.size() / 8)});
        m_calls->server.answerEach(slow);
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("hello"));
    }

private:
    std::unique_ptr<ChatCalls> m_calls;
};

QTEST_GUILESS_MAIN(TestChatTransfers)
#include "TestChatTransfers.moc"
