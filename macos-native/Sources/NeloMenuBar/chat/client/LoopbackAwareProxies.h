#pragma once

#include <QNetworkProxyFactory>

/// The system's proxies, but none on the way to this machine itself.
class LoopbackAwareProxies final : public QNetworkProxyFactory
{
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override;
};
