#include "chat/ChatCalls.h"
#include "support/Cases.h"
#include "support/TestCase.h"

#include <QElapsedTimer>
#include <QtEndian>

#include <zlib.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// Transfers over real connections, most of which go wrong.
class TestChatTransfers final : public TestCase
{
    Q_OBJECT

private slots:
    void everyAnswerHasOneOutcomeAndNoRequestIsRepeated_data()
    {
        const Cases<HttpAnswer, QString> add("answer", "outcome");
        addAnswersThatAreUnderstood();
        addAnswersThatBreakOff();
        addAnswersThatMakeNoSense();
        addStatuses();
    }

    void everyAnswerHasOneOutcomeAndNoRequestIsRepeated()
    {
        QFETCH(HttpAnswer, answer);
        QFETCH(QString, outcome);
        m_calls->server.answerEach(answer);
        for (int call = 1; call <= 5; ++call) { // several times, because closing and reading happen at once
            QCOMPARE(outcomeText(m_calls->ask()), outcome);
            QCOMPARE(m_calls->server.requests().size(), call);
        }
        m_calls->outcomes.clear();
        for (int call = 0; call < 20; ++call)
            m_calls->start();
        QVERIFY(m_calls->waitForOutcomes(20));
        for (const ChatOutcome& one : std::as_const(m_calls->outcomes))
            QCOMPARE(outcomeText(one), outcome);
        QCOMPARE(m_calls->server.requests().size(), 25);
    }

    void aReplyCutAtAnyByteFails()
    {
        const HttpAnswer answer = replyOf(u"你好"_s);
        for (qsizetype length = 0; length < answer.bytes().size(); ++length) {
            m_calls->server.answerEach(answer.cutAfter(length));
            QVERIFY2(std::holds_alternative<ChatTransportError>(m_calls->ask()), qPrintable(QString::number(length)));
            QCOMPARE(m_calls->server.requests().size(), length + 1);
        }
    }

    void silenceTimesOut()
    {
        QCOMPARE(TransferLimits().silence, 60s);
        m_calls->client = std::make_unique<ChatClient>(TransferLimits{.silence = 200ms});
        for (const QByteArray& bytes :
             {QByteArray(), QByteArray("HTTP/1.1 200 OK\r\nCont"), goodAnswer().bytes().chopped(5)}) {
            m_calls->server.answerEach(HttpAnswer{{{0ms, bytes}}, HttpAnswer::End::KeepOpen});
            const qsizetype requestsBefore = m_calls->server.requests().size();
            QElapsedTimer timer;
            timer.start();
            QCOMPARE(outcomeText(m_calls->ask()), u"<127.0.0.1: Timeout was reached>"_s);
            QVERIFY2(timer.elapsed() >= 190, qPrintable(QString::number(timer.elapsed())));
            QCOMPARE(m_calls->server.requests().size(), requestsBefore + 1);
            QTRY_COMPARE(m_calls->server.openConnections(), 0);
        }
    }

    void aSlowAnswerDoesNotTimeOut()
    {
        m_calls->client = std::make_unique<ChatClient>(TransferLimits{.silence = 300ms});
        const QByteArray answer = goodAnswer().bytes();
        HttpAnswer slow{{{0ms, answer.chopped(8)}}};
        for (qsizetype left = 8; left > 0; --left) // for longer than the time limit of silence
            slow.pieces.append({100ms, answer.last(left).first(1)});
        m_calls->server.answerEach(slow);
        QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
    }

private:
    static QByteArray gzip(const QByteArray& bytes)
    {
        // qCompress: four bytes of its own, a head of two, the compressed bytes, a checksum of four.
        const QByteArray deflated = qCompress(bytes).sliced(6).chopped(4);
        const auto size = static_cast<quint32>(bytes.size());
        QByteArray tail(8, Qt::Uninitialized);
        qToLittleEndian(static_cast<quint32>(crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), size)),
                        tail.data());
        qToLittleEndian(size, tail.data() + 4);
        return QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\xff", 10) + deflated + tail;
    }

    static HttpAnswer goodAnswer() { return replyOf(u"hello"_s); }

    static HttpAnswer packedAnswer(int status, const QByteArray& packed)
    {
        return HttpAnswer::message(status, packed, {"Content-Encoding: gzip"});
    }

    /// Returns the same answer, but the connection ends `missing` bytes before the end of the message.
    static HttpAnswer brokenOff(const HttpAnswer& answer, qsizetype missing)
    {
        return answer.cutAfter(answer.bytes().size() - missing);
    }

    /// Returns an answer of `head` and `body`. The connection closes after it.
    static HttpAnswer answerOf(const QByteArray& head, const QByteArray& body)
    {
        return HttpAnswer::rawThenClose("HTTP/1.1 200 OK\r\nConnection: close\r\n" + head + "\r\n" + body);
    }

    static void addRow(const char* name, const HttpAnswer& answer, const char* outcome)
    {
        QTest::newRow(name) << answer << QString::fromUtf8(outcome);
    }

    static void addAnswersThatAreUnderstood()
    {
        const QByteArray body = replyBody(u"hello"_s);
        const QByteArray length = "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
        const HttpAnswer chunks = HttpAnswer::chunked(200, {body.first(1), body.sliced(1, 20), body.sliced(21)});
        addRow("a length", goodAnswer(), "hello");
        addRow("a length, and the connection goes on", goodAnswer().keptAlive(), "hello");
        addRow("chunks", chunks, "hello");
        addRow("chunks, and the connection goes on", chunks.keptAlive(), "hello");
        addRow("chunks with lines of a head after them",
               answerOf("Transfer-Encoding: chunked\r\n",
                        QByteArray::number(body.size(), 16) + "\r\n" + body + "\r\n0\r\nX-Sum: 1\r\n\r\n"),
               "hello");
        addRow("until the connection closes", answerOf("", body), "hello");
        addRow("HTTP/1.0 until the connection closes", HttpAnswer::untilClose(200, body), "hello");
        addRow("HTTP/1.0 with a length", HttpAnswer::rawThenClose("HTTP/1.0 200 OK\r\n" + length + "\r\n" + body),
               "hello");
        addRow("gzip", packedAnswer(200, gzip(body)), "hello");
        addRow("gzip of two members", packedAnswer(200, gzip(body.first(9)) + gzip(body.sliced(9))), "hello");
        addRow("gzip until the connection closes", answerOf("Content-Encoding: gzip\r\n", gzip(body)), "hello");
        addRow("a few bytes at a time", goodAnswer().inPieces(9, 1ms), "hello");
        addRow("chunks a few bytes at a time", chunks.inPieces(9, 1ms), "hello");
        addRow("\"continue\" before it",
               HttpAnswer::rawThenClose("HTTP/1.1 100 Continue\r\n\r\n" + goodAnswer().bytes()), "hello");
        addRow("no reason beside the status", HttpAnswer::rawThenClose(goodAnswer().bytes().replace(" Scripted", "")),
               "hello");
        addRow("a shorter length than the body", answerOf("Content-Length: 9\r\n", body), "<response missing choices>");
    }

    static void addAnswersThatBreakOff()
    {
        const QByteArray body = replyBody(u"hello"_s);
        const QByteArray packed = gzip(body);
        const HttpAnswer refusal = HttpAnswer::message(500, "a page of excuses");
        const HttpAnswer chunks = HttpAnswer::chunked(200, {body.first(20), body.sliced(20)});
        const char* const noReply = "<127.0.0.1: Empty reply from server>";
        const char* const fiveMissing = "<127.0.0.1: transfer closed with 5 bytes remaining to read>";
        const char* const chunksMissing = "<127.0.0.1: transfer closed with outstanding read data remaining>";
        addRow("broken off before the first byte", goodAnswer().cutAfter(0), noReply);
        addRow("broken off within the head", goodAnswer().cutAfter(20), noReply);
        addRow("broken off after \"continue\" and a half line",
               HttpAnswer::rawThenClose("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 2"), noReply);
        addRow("broken off within the body", brokenOff(goodAnswer(), 5), fiveMissing);
        addRow("broken off within the body of a refusal", brokenOff(refusal, 5), fiveMissing);
        addRow("broken off within a chunk", brokenOff(chunks, 20), chunksMissing);
        addRow("broken off before the last chunk", brokenOff(chunks, 5), chunksMissing);
        addRow("broken off within a packed body", brokenOff(packedAnswer(200, packed), 5), fiveMissing);
        addRow("broken off within a packed refusal", brokenOff(packedAnswer(401, packed), 5), fiveMissing);
        addRow("broken off within packed chunks",
               answerOf("Content-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n", "ff\r\n" + packed.chopped(9)),
               chunksMissing);
        addRow("a longer length than the body",
               answerOf("Content-Length: " + QByteArray::number(body.size() + 5) + "\r\n", body), fiveMissing);
    }

    static void addAnswersThatMakeNoSense()
    {
        const QByteArray packed = gzip(replyBody(u"hello"_s));
        const char* const notPacked = "<127.0.0.1: The answer cannot be unpacked>";
        const char* const notHttp = "<127.0.0.1: Received HTTP/0.9 when not allowed>";
        addRow("a packed body without its last byte", packedAnswer(200, packed.chopped(1)), notPacked);
        addRow("a packed body without its second half", packedAnswer(401, packed.chopped(packed.size() / 2)),
               notPacked);
        addRow("a packed body with something after it", packedAnswer(200, packed + "more"), notPacked);
        addRow("a packed body that is not", packedAnswer(200, "this is no gzip"), notPacked);
        addRow("a chunk size that is no number",
               answerOf("Transfer-Encoding: chunked\r\n", "oops\r\nhello\r\n0\r\n\r\n"),
               "<127.0.0.1: Illegal or missing hexadecimal sequence in chunked-encoding>");
        addRow("a chunk that is longer than its size",
               answerOf("Transfer-Encoding: chunked\r\n", "2\r\nhello\r\n0\r\n\r\n"),
               "<127.0.0.1: Malformed encoding found in chunked-encoding>");
        addRow("lines of something else", HttpAnswer::rawThenClose("garbage\r\n\r\nmore garbage\r\n"), notHttp);
        addRow("no line at all", HttpAnswer::rawThenClose("garbage"), notHttp);
        addRow("zeros", HttpAnswer::rawThenClose(QByteArray(5000, '\0')), notHttp);
        addRow("another protocol's greeting, and the line stays open",
               HttpAnswer{{{0ms, "SSH-2.0-Something\r\n"}}, HttpAnswer::End::KeepOpen}, notHttp);
        addRow("a page without a head", HttpAnswer::rawThenClose("<html><body>hello</body></html>\n"), notHttp);
    }

    static void addStatuses()
    {
        for (const int status : {300, 305, 400, 401, 403, 404, 405, 407, 408, 409, 410, 413,
                                 418, 422, 429, 451, 500, 501, 502, 503, 504, 529, 599}) {
            QTest::addRow("%d brings its body", status)
                << HttpAnswer::message(status, "no\nway") << u"<HTTP %1: no\nway>"_s.arg(status);
        }
        const QByteArray body = replyBody(u"hello"_s);
        addRow("500 with an empty body", HttpAnswer::message(500, ""), "<HTTP 500: >");
        addRow("200 with an empty body", HttpAnswer::message(200, ""), "<response missing choices>");
        addRow("201 with a reply", HttpAnswer::message(201, body), "hello");
        addRow("204 without a body", HttpAnswer::message(204, ""), "<empty response>");
        addRow("204 with a body, which libcurl does not read", HttpAnswer::message(204, body), "<empty response>");
        addRow("205 without a body", HttpAnswer::message(205, ""), "<empty response>");
        addRow("205 with a reply", HttpAnswer::message(205, body), "hello");
        addRow("304 without a body", HttpAnswer::message(304, ""), "<empty response>");
    }

    Fresh<ChatCalls> m_calls{this};
};

QTEST_GUILESS_MAIN(TestChatTransfers)
#include "TestChatTransfers.moc"
