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
    static HttpAnswer message(int status, const QByteArray& body, const QByteArrayList& headers = {});
    /// The same with a body that comes in `chunks`.
    static HttpAnswer chunked(int status, const QByteArrayList& chunks);
    /// An HTTP/1.0 message, whose body ends with the connection.
    static HttpAnswer untilClose(int status, const QByteArray& body);
    /// A message with this status and no body that sends the client to `location`.
    static HttpAnswer redirect(int status, const QByteArray& location);
    /// These bytes, whatever they are, and then the end of the connection.
    static HttpAnswer rawThenClose(const QByteArray& bytes);
    /// Never a byte, and an open connection.
    static HttpAnswer silence();

    /// The same, but the connection ends after the first `count` bytes.
    HttpAnswer cutAfter(qsizetype count) const;
    /// The same message, but the connection goes on, whatever the request asked.
    HttpAnswer keptAlive() const;
    /// The same, but it begins later.
    HttpAnswer delayedBy(std::chrono::milliseconds pause) const;
    /// The same bytes, `pieceSize` at a time with `pause` before each.
    HttpAnswer inPieces(qsizetype pieceSize, std::chrono::milliseconds pause) const;

    /// All its bytes.
    QByteArray bytes() const;
};
