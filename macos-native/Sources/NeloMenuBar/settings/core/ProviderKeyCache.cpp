#include "settings/core/ProviderKeyCache.h"

#include <utility>

ProviderKeyCache::ProviderKeyCache(QMap<QString, QString> stored, const QString& provider, const QString& documentKey)
    : m_keys(std::move(stored))
{
    if (!documentKey.isEmpty())
        m_keys[provider] = documentKey;
}

QString ProviderKeyCache::key(const QString& provider) const
{
    return m_keys.value(provider);
}

void ProviderKeyCache::take(const QString& provider, const QString& typed)
{
    m_keys[provider] = typed.trimmed();
}
