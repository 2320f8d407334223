#include "support/HttpAnswer.h"

using namespace std::chrono_literals;

namespace {

QByteArray head(const QByteArray& version, int status, const QByteArrayList& headers)
{
    QByteArrayList lines{version + ' ' + QByteArray::number(status) + " Scripted"};
    lines += headers;
    return lines.join("\r\n") + "\r\n\r\n";
}

HttpAnswer oneGo(const QByteArray& bytes, HttpAnswer::End end)
{
    return {{{0ms, bytes}}, end};
}

} // namespace

HttpAnswer HttpAnswer::message(int status, const QByteArray& body, const QByteArrayList& headers)
{
    const QByteArrayList ours{"Content-Length: " + QByteArray::number(body.size()), "Connection: close"};
    return oneGo(head("HTTP/1.1", status, headers + ours) + body, End::Close);
}

HttpAnswer HttpAnswer::chunked(int status, const QByteArrayList& chunks)
{
    QByteArray bytes = head("HTTP/1.1", status, {"Transfer-Encoding: chunked", "Connection: close"});
    for (const QByteArray& chunk : chunks)
        bytes += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
    return oneGo(bytes + "0\r\n\r\n", End::Close);
}

HttpAnswer HttpAnswer::untilClose(int status, const QByteArray& body)
{
    return oneGo(head("HTTP/1.0", status, {}) + body, End::Close);
}

HttpAnswer HttpAnswer::redirect(int status, const QByteArray& location)
{
    return message(status, {}, {"Location: " + location});
}

HttpAnswer HttpAnswer::rawThenClose(const QByteArray& bytes)
{
    return oneGo(bytes, End::Close);
}

HttpAnswer HttpAnswer::silence()
{
    return {};
}

HttpAnswer HttpAnswer::cutAfter(qsizetype count) const
{
    return oneGo(bytes().first(count), End::Close);
}

HttpAnswer HttpAnswer::keptAlive() const
{
    return oneGo(bytes().replace("Connection: close\r\n", ""), End::KeepOpen);
}

HttpAnswer HttpAnswer::delayedBy(std::chrono::milliseconds pause) const
{
    HttpAnswer later = *this;
    later.pieces.prepend({pause, {}});
    return later;
}

HttpAnswer HttpAnswer::inPieces(qsizetype pieceSize, std::chrono::milliseconds pause) const
{
    HttpAnswer slow{{}, end};
    const QByteArray all = bytes();
    for (qsizetype start = 0; start < all.size(); start += pieceSize)
        slow.pieces.append({pause, all.mid(start, pieceSize)});
    return slow;
}

QByteArray HttpAnswer::bytes() const
{
    QByteArray all;
    for (const Piece& piece : pieces)
        all += piece.bytes;
    return all;
}
