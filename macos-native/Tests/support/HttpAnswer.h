#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>

#include <chrono>

/// What a scripted server puts on the wire for one request: bytes, the pauses before them, and whether the connection
/// ends after them. Anything that a server may do, rude or not, is such a sequence.
struct HttpAnswer
{
    struct Piece
    {
        std::chrono::milliseconds pause; // before the bytes
        QByteArray bytes;
    };
    enum class End { KeepOpen, Close, Reset };

    QList<Piece> pieces;
    End end = End::KeepOpen;

    /// A complete HTTP/1.1 message with a Content-Length, the last on its connection, as our requests ask. Each of
    /// `headers` is a whole line, such as "X-Name: value".
    static HttpAnswer message(int status, const QByteArray& body, const QByteArrayList& headers = {})
    {
        const QByteArrayList ours{"Content-Length: " + QByteArray::number(body.size()), "Connection: close"};
        return rawThenClose(head("HTTP/1.1", status, headers + ours) + body);
    }
    /// The same with a body that comes in `chunks`.
    static HttpAnswer chunked(int status, const QByteArrayList& chunks)
    {
        QByteArray bytes = head("HTTP/1.1", status, {"Transfer-Encoding: chunked", "Connection: close"});
        for (const QByteArray& chunk : chunks)
            bytes += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
        return rawThenClose(bytes + "0\r\n\r\n");
    }
    /// An HTTP/1.0 message, whose body ends with the connection.
    static HttpAnswer untilClose(int status, const QByteArray& body)
    {
        return rawThenClose(head("HTTP/1.0", status, {}) + body);
    }
    /// A message with this status and no body that sends the client to `location`.
    static HttpAnswer redirect(int status, const QByteArray& location)
    {
        return message(status, {}, {"Location: " + location});
    }
    /// These bytes, whatever they are, and then the end of the connection.
    static HttpAnswer rawThenClose(const QByteArray& bytes) { return {{{{}, bytes}}, End::Close}; }
    /// Never a byte, and an open connection.
    static HttpAnswer silence() { return {}; }

    /// The same, but the connection ends after the first `count` bytes.
    HttpAnswer cutAfter(qsizetype count) const { return rawThenClose(bytes().first(count)); }
    /// The same message, but the connection goes on, whatever the request asked.
    HttpAnswer keptAlive() const { return {{{{}, bytes().replace("Connection: close\r\n", "")}}, End::KeepOpen}; }
    /// The same, but it begins later.
    HttpAnswer delayedBy(std::chrono::milliseconds pause) const
    {
        HttpAnswer later = *this;
        later.pieces.prepend({pause, {}});
        return later;
    }
    /// The same bytes, `pieceSize` at a time with `pause` before each.
    HttpAnswer inPieces(qsizetype pieceSize, std::chrono::milliseconds pause) const
    {
        HttpAnswer slow{{}, end};
        const QByteArray all = bytes();
        for (qsizetype start = 0; start < all.size(); start += pieceSize)
            slow.pieces.append({pause, all.mid(start, pieceSize)});
        return slow;
    }

    /// All its bytes.
    QByteArray bytes() const
    {
        QByteArray all;
        for (const Piece& piece : pieces)
            all += piece.bytes;
        return all;
    }

private:
    static QByteArray head(const QByteArray& version, int status, const QByteArrayList& headers)
    {
        const QByteArrayList lines{version + ' ' + QByteArray::number(status) + " Scripted"};
        return (lines + headers).join("\r\n") + "\r\n\r\n";
    }
};
