#include "chat/core/ChatTimestamp.h"

#include <QDateTime>

QString chatTimestamp()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
}
