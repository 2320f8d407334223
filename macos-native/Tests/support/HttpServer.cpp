#include "support/HttpServer.h"

#include <QSslConfiguration>
#include <QSslServer>
#include <QSslSocket>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>

#include <sys/socket.h>

namespace {

constexpr QByteArrayView endOfHead("\r\n\r\n");

HttpRequest parseHead(const QByteArray& head)
{
    QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> requestLine = lines.takeFirst().trimmed().split(' ');
    HttpRequest request{requestLine.value(0), requestLine.value(1), {}, {}};
    for (const QByteArray& line : std::as_const(lines)) {
        const qsizetype colon = line.indexOf(':');
        request.headers.append({line.first(std::max<qsizetype>(colon, 0)), line.mid(colon + 1).trimmed()});
    }
    return request;
}

/// Takes one complete request off the front of `buffer`, when it holds one.
std::optional<HttpRequest> takeRequest(QByteArray& buffer)
{
    const qsizetype headEnd = buffer.indexOf(endOfHead);
    if (headEnd < 0)
        return std::nullopt;
    HttpRequest request = parseHead(buffer.first(headEnd));
    const qsizetype bodyStart = headEnd + endOfHead.size();
    const qsizetype bodySize = request.header("Content-Length").toLongLong();
    if (buffer.size() < bodyStart + bodySize)
        return std::nullopt;
    request.body = buffer.mid(bodyStart, bodySize);
    buffer.remove(0, bodyStart + bodySize);
    return request;
}

/// As servers do: an answer does not wait for the acknowledgement of what was sent before.
void sendAtOnce(QTcpSocket* connection)
{
    connection->setSocketOption(QAbstractSocket::LowDelayOption, 1);
}

/// Ends the connection so that the other side does not take it for the end of an answer.
void reset(QTcpSocket* connection)
{
    const linger atOnce{1, 0};
    setsockopt(static_cast<int>(connection->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    connection->abort();
}

/// Puts the pieces from `index` on the wire, each after its pause.
void sendPieces(QTcpSocket* connection, const HttpAnswer& answer, qsizetype index = 0)
{
    if (index == answer.pieces.size()) {
        if (answer.end == HttpAnswer::End::Close)
            connection->disconnectFromHost(); // after what is still to be written
        if (answer.end == HttpAnswer::End::Reset)
            reset(connection);
        return;
    }
    const auto sendPiece = [connection, answer, index] {
        connection->write(answer.pieces[index].bytes);
        sendPieces(connection, answer, index + 1);
    };
    const std::chrono::milliseconds pause = answer.pieces[index].pause;
    if (pause.count() == 0)
        sendPiece();
    else
        QTimer::singleShot(pause, connection, sendPiece);
}

} // namespace

qsizetype HttpRequest::count(const QByteArray& name) const
{
    return std::count_if(headers.begin(), headers.end(),
                         [&name](const auto& header) { return header.first.compare(name, Qt::CaseInsensitive) == 0; });
}

QByteArray HttpRequest::header(const QByteArray& name) const
{
    const auto found = std::find_if(headers.begin(), headers.end(), [&name](const auto& header) {
        return header.first.compare(name, Qt::CaseInsensitive) == 0;
    });
    return found == headers.end() ? QByteArray() : found->second;
}

HttpServer::HttpServer(quint16 port, const QHostAddress& address)
    : m_scheme(QStringLiteral("http")), m_server(std::make_unique<QTcpServer>())
{
    listen(address, port);
}

HttpServer::HttpServer(const QSslConfiguration& tls, const QHostAddress& address) : m_scheme(QStringLiteral("https"))
{
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(tls);
    connect(server.get(), &QSslServer::startedEncryptionHandshake, this, sendAtOnce); // TLS has something to say first
    m_server = std::move(server);
    listen(address, 0);
}

void HttpServer::answerEach(const HttpAnswer& answer)
{
    m_script = [answer](const HttpRequest&) { return answer; };
}

void HttpServer::answerInTurn(const QList<HttpAnswer>& answers)
{
    m_script = [answers, next = 0](const HttpRequest&) mutable {
        const qsizetype index = std::min<qsizetype>(next++, answers.size() - 1);
        return answers[index];
    };
}

void HttpServer::answerBy(const Script& script)
{
    m_script = script;
}

void HttpServer::holdAnswers()
{
    m_script = [](const HttpRequest&) { return std::nullopt; };
}

void HttpServer::answer(qsizetype index, const HttpAnswer& answer)
{
    if (const QPointer<QTcpSocket>& connection = m_askers[index]) // otherwise the client went away
        sendPieces(connection, answer);
}

QString HttpServer::url(const QString& path) const
{
    return QStringLiteral("%1://%2:%3%4")
        .arg(m_scheme, m_server->serverAddress().toString())
        .arg(m_server->serverPort())
        .arg(path);
}

qsizetype HttpServer::openConnections() const
{
    const QList<QTcpSocket*> connections = m_server->findChildren<QTcpSocket*>();
    return std::count_if(connections.begin(), connections.end(), [](const QTcpSocket* connection) {
        return connection->state() == QAbstractSocket::ConnectedState;
    });
}

void HttpServer::listen(const QHostAddress& address, quint16 port)
{
    holdAnswers();
    connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this, &HttpServer::accept);
    if (!m_server->listen(address, port))
        qFatal("cannot listen: %s", qPrintable(m_server->errorString()));
}

void HttpServer::accept()
{
    while (QTcpSocket* connection = m_server->nextPendingConnection()) {
        ++m_connectionCount;
        sendAtOnce(connection);
        connect(connection, &QTcpSocket::readyRead, this, [this, connection] { read(connection); });
        connect(connection, &QTcpSocket::disconnected, this, [this, connection] {
            m_unread.remove(connection);
            connection->deleteLater();
        });
        read(connection); // what came before we listened for it
    }
}

void HttpServer::read(QTcpSocket* connection)
{
    m_unread[connection] += connection->readAll();
    while (const std::optional<HttpRequest> request = takeRequest(m_unread[connection]))
        receive(connection, *request);
}

void HttpServer::receive(QTcpSocket* connection, const HttpRequest& request)
{
    m_requests.append(request);
    m_askers.append(connection);
    if (const std::optional<HttpAnswer> wire = m_script(request))
        answer(m_requests.size() - 1, *wire);
}
