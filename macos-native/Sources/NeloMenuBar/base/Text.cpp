#include "base/Text.h"

#include <QDateTime>
#include <QStringDecoder>

std::optional<QString> decodeUtf8(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    const QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

QString compactTimestamp(const QDateTime& time)
{
    return time.toString(QStringLiteral("yyyyMMdd-HHmmss"));
}

QString isoTimestamp(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODate);
}
