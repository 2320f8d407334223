#include "chat/client/ChatTransferResult.h"

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

/// Whether the body ends where the connection does, as in HTTP/1.0.
bool endsWithConnection(const QNetworkReply& reply)
{
    // The library takes the length of a packed body out of the headers, because it is not that of the unpacked one. It
    // forgets it, too: such a body that breaks off may count as complete, and nobody tells how many packed bytes came.
    // What there is of it then stands for itself; half an answer is none, and half an excuse is still a refusal.
    const QVariant packedLength = reply.attribute(QNetworkRequest::OriginalContentLengthAttribute);
    const bool hasLength =
        reply.hasRawHeader("Content-Length") || (packedLength.isValid() && packedLength.toLongLong() >= 0);
    return !hasLength && !reply.hasRawHeader("Transfer-Encoding");
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
    return ChatTransportError{QStringLiteral("Connection closed")}; // what the library says when it may
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
    return {error, status, body};
}
