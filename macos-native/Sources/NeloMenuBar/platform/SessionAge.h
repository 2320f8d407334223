#pragma once

#include <QByteArray>

#include <chrono>
#include <optional>

class QDBusConnection;

/// Returns how long a process has run: `stat` is its line in /proc/PID/stat, which has its start in `ticksPerSecond`,
/// and `uptime` how long the system has run. Returns nothing when the line is damaged or the start lies
/// in the future.
std::optional<std::chrono::milliseconds> processAge(const QByteArray& stat, std::chrono::milliseconds uptime,
                                                    long ticksPerSecond);

/// Returns how long the user's session has lasted, which is at most as long as the process of its bus. Returns nothing
/// when that process cannot be seen.
std::optional<std::chrono::milliseconds> sessionAge(const QDBusConnection& bus);
