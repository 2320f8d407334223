#include "chat/client/ChatTransferResult.h"

#include "chat/client/Gunzip.h"

#include <QNetworkReply>

namespace {

/// Whether `error` only says that `status` is one of refusal.
bool isAboutStatus(QNetworkReply::NetworkError error, int status)
{
    if (status < 400)
        return false;
    switch (error) {
    case QNetworkReply::ProxyAuthenticationRequiredError: // 407, which a server that is no proxy may answer too
        return true;
    case QNetworkReply::ContentReSendError:
    case QNetworkReply::ProtocolUnknownError:
    case QNetworkReply::ProtocolFailure:
        return false;
    default:
        return error > QNetworkReply::UnknownProxyError; // below are the errors of connections and proxies
    }
}

ChatTransportError connectionClosed()
{
    return {QStringLiteral("Connection closed")}; // what the library says when it may
}

/// Whether the body ends where the connection does, as in HTTP/1.0.
bool endsWithConnection(const QNetworkReply& reply)
{
    return !reply.hasRawHeader("Content-Length") && !reply.hasRawHeader("Transfer-Encoding");
}

/// Whether the body came packed in the one way that we ask for.
bool isPacked(const QNetworkReply& reply)
{
    const QByteArray encoding = reply.rawHeader("Content-Encoding").trimmed().toLower();
    return encoding == "gzip" || encoding == "x-gzip";
}

std::optional<ChatTransportError> errorOf(const QNetworkReply& reply, std::optional<int> status)
{
    const QNetworkReply::NetworkError error = reply.error();
    if (error == QNetworkReply::NoError || (status && isAboutStatus(error, *status)))
        return std::nullopt;
    if (error == QNetworkReply::OperationCanceledError) // by the transfer timeout: nobody else cancels
        return ChatTransportError{QStringLiteral("The request timed out")};
    if (error != QNetworkReply::ContentReSendError)
        return ChatTransportError{reply.errorString()};
    // The connection ended and the request was not to be sent again.
    if (status && endsWithConnection(reply))
        return std::nullopt;
    return connectionClosed();
}

bool forbidsBody(int status)
{
    return status < 200 || status == 204 || status == 205 || status == 304;
}

} // namespace

std::optional<int> statusOf(const QNetworkReply& reply)
{
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    return status.isValid() ? std::optional(status.toInt()) : std::nullopt;
}

ChatTransfer transferOf(QNetworkReply& reply)
{
    const std::optional<int> status = statusOf(reply);
    const std::optional<ChatTransportError> error = errorOf(reply, status);
    if (error || !status)
        return {error, status, std::nullopt};
    const QByteArray body = reply.readAll();
    // After 204 the library reads no body, as HTTP has it, so one that a server sends all the same is not here either.
    if (body.isEmpty() && forbidsBody(*status))
        return {error, status, std::nullopt};
    if (body.size() < reply.header(QNetworkRequest::ContentLengthHeader).toLongLong())
        return {connectionClosed(), status, std::nullopt}; // which the library does not tell of a refusal
    if (!isPacked(reply) || body.isEmpty())
        return {error, status, body};
    const std::optional<QByteArray> content = gunzip(body);
    if (!content)
        return {ChatTransportError{QStringLiteral("The answer cannot be unpacked")}, status, std::nullopt};
    return {error, status, *content};
}
