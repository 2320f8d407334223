#include "chat/client/LoopbackAwareProxies.h"

#include <QHostAddress>
#include <QNetworkProxy>

namespace {

bool isLoopback(const QString& host)
{
    const QLatin1StringView localhost("localhost"); // and the names below it, which are reserved for this too
    return host == localhost || host.endsWith(u'.' + localhost) || QHostAddress(host).isLoopback();
}

} // namespace

QList<QNetworkProxy> LoopbackAwareProxies::queryProxy(const QNetworkProxyQuery& query)
{
    if (isLoopback(query.peerHostName()))
        return {QNetworkProxy(QNetworkProxy::NoProxy)};
    return systemProxyForQuery(query);
}
