#pragma once

#include <QByteArray>
#include <QDateTime>

#include <ctime>

/// Sets the local time of this process to UTC+05:45 while the object lives. No machine that runs tests has that.
class LocalTimeZone final
{
public:
    LocalTimeZone() : m_before(qgetenv("TZ"))
    {
        qputenv("TZ", "TST-05:45");
        tzset();
    }
    LocalTimeZone(const LocalTimeZone&) = delete;
    LocalTimeZone& operator=(const LocalTimeZone&) = delete;
    ~LocalTimeZone()
    {
        if (m_before.isNull())
            qunsetenv("TZ");
        else
            qputenv("TZ", m_before);
        tzset();
    }

    /// Whether `stamp`, "yyyyMMdd-HHmmss", is the time here, within a minute.
    static bool isNow(const QString& stamp)
    {
        QDateTime time = QDateTime::fromString(stamp, QStringLiteral("yyyyMMdd-HHmmss"));
        time.setTimeSpec(Qt::UTC);
        constexpr int offset = (5 * 60 + 45) * 60;
        return time.isValid() && qAbs(QDateTime::currentDateTimeUtc().secsTo(time) - offset) < 60;
    }

private:
    QByteArray m_before;
};
