#pragma once

#include <QMap>
#include <QString>

/// The API keys of the cloud providers as last typed or loaded, empty ones included.
class ProviderKeyCache final
{
public:
    ProviderKeyCache() = default;
    /// Holds the keys that are `stored`, except that `documentKey`, unless it is empty, is the key of `provider`.
    ProviderKeyCache(QMap<QString, QString> stored, const QString& provider, const QString& documentKey);

    /// The key of `provider`, empty when there is none.
    QString key(const QString& provider) const;
    /// All keys by provider.
    const QMap<QString, QString>& keys() const { return m_keys; }

    /// Takes what was `typed` for `provider`, less the white space around it.
    void take(const QString& provider, const QString& typed);

private:
    QMap<QString, QString> m_keys;
};
