#include "platform/SessionAge.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>

#include <ctime>

#include <unistd.h>

using namespace std::chrono;

namespace {

milliseconds uptime()
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return duration_cast<milliseconds>(seconds(now.tv_sec) + nanoseconds(now.tv_nsec));
}

} // namespace

std::optional<milliseconds> processAge(const QByteArray& stat, milliseconds uptime, long ticksPerSecond)
{
    // See proc(5): the second field is the name in parentheses, which may hold anything; the 22nd is the start.
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 1).simplified().split(' ');
    bool isNumber = false;
    const qlonglong start = fields.value(22 - 3).toLongLong(&isNumber);
    if (!isNumber)
        return std::nullopt;
    const milliseconds age = uptime - milliseconds(start * 1000 / ticksPerSecond);
    return age < 0ms ? std::nullopt : std::optional(age);
}

std::optional<milliseconds> sessionAge(const QDBusConnection& bus)
{
    const QDBusConnectionInterface* daemon = bus.interface();
    if (!daemon)
        return std::nullopt;
    const QDBusReply<uint> process = daemon->servicePid(QStringLiteral("org.freedesktop.DBus"));
    QFile stat(QStringLiteral("/proc/%1/stat").arg(process.value()));
    if (!process.isValid() || !stat.open(QIODevice::ReadOnly))
        return std::nullopt;
    return processAge(stat.readAll(), uptime(), sysconf(_SC_CLK_TCK));
}
