#include "chat/client/SystemProxy.h"

#include <QHostAddress>
#include <QUrl>

namespace {

bool isLoopback(const QString& host)
{
    const QLatin1StringView localhost("localhost"); // and the names below it, which are reserved for this too
    return host == localhost || host.endsWith(u'.' + localhost) || QHostAddress(host).isLoopback();
}

} // namespace

QNetworkProxy systemProxyFor(const QUrl& url)
{
    if (isLoopback(url.host()))
        return QNetworkProxy::NoProxy;
    return QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(url)).value(0, QNetworkProxy::NoProxy);
}
