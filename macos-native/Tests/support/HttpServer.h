#pragma once

#include "support/HttpAnswer.h"

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTcpServer>

#include <functional>
#include <memory>
#include <optional>

class QSslConfiguration;
class QTcpSocket;

/// A request as it came over the wire.
struct HttpRequest
{
    QByteArray method;
    QByteArray target;
    QList<std::pair<QByteArray, QByteArray>> headers; // in their order, names as written
    QByteArray body;

    /// How often a header is there; its name in any case.
    qsizetype count(const QByteArray& name) const;
    /// A header's first value; empty when it is absent.
    QByteArray header(const QByteArray& name) const;
};

/// A real HTTP server, run by the event loop of the thread that made it, that answers
/// what the test says and remembers what it was asked.
class HttpServer final : public QObject
{
    Q_OBJECT

public:
    /// Decides what a request gets; nothing leaves it waiting for `answer()`.
    using Script = std::function<std::optional<HttpAnswer>(const HttpRequest&)>;

    /// On `port`, or on one that is free, of this machine's `address`.
    explicit HttpServer(quint16 port = 0, const QHostAddress& address = QHostAddress::LocalHost);
    /// Speaks TLS with this configuration's certificate and key.
    explicit HttpServer(const QSslConfiguration& tls, const QHostAddress& address = QHostAddress::LocalHost);

    /// From now on every request gets this answer.
    void answerEach(const HttpAnswer& answer);
    /// The next requests get these answers, the last of them also all that follow.
    void answerInTurn(const QList<HttpAnswer>& answers);
    void answerBy(const Script& script);
    /// From now on requests wait for `answer()`.
    void holdAnswers();
    /// Answers request `index` of `requests()`, which waits.
    void answer(qsizetype index, const HttpAnswer& answer);

    /// "http://address:port" or "https://..." with `path` after it.
    QString url(const QString& path = QStringLiteral("/")) const;
    quint16 port() const { return m_server->serverPort(); }
    /// The complete requests so far, in the order they came.
    const QList<HttpRequest>& requests() const { return m_requests; }
    /// How many connections were opened so far.
    int connectionCount() const { return m_connectionCount; }
    /// How many of them are still open.
    qsizetype openConnections() const;

private:
    void listen(const QHostAddress& address, quint16 port);
    void accept();
    void read(QTcpSocket* connection);
    void receive(QTcpSocket* connection, const HttpRequest& request);

    QString m_scheme;
    Script m_script;
    QList<HttpRequest> m_requests;
    QList<QPointer<QTcpSocket>> m_askers; // of the requests, index by index
    QHash<QTcpSocket*, QByteArray> m_unread;
    int m_connectionCount = 0;
    std::unique_ptr<QTcpServer> m_server; // last: when it goes, its connections tell of their end
};
