#include "shell/platform/StatusArea.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QEvent>
#include <QSystemTrayIcon>
#include <QWidget>

#include <algorithm>

namespace {

/// What draws the items that programs describe to it. See "StatusNotifierItem" at freedesktop.org.
constexpr QLatin1String hostService("org.kde.StatusNotifierWatcher");

/// Whether this is the window that Qt has a tray embed, for desktops where an item is a window. Qt makes it when a tray
/// comes and drops it when the tray goes.
bool isIconWindow(const QObject& object)
{
    return object.inherits("QSystemTrayIconSys");
}

bool hasIconWindow()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [](const QWidget* window) { return isIconWindow(*window); });
}

} // namespace

StatusArea::StatusArea(QObject* parent) : QObject(parent)
{
    const bool isDrawnByHost = QSystemTrayIcon::isSystemTrayAvailable() && !hasIconWindow();
    if (!isDrawnByHost) {
        QCoreApplication::instance()->installEventFilter(this);
        return;
    }
    m_hasHost = true;
    auto* watcher = new QDBusServiceWatcher(hostService, QDBusConnection::sessionBus(),
                                            QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString& /*service*/, const QString& /*oldOwner*/, const QString& newOwner) {
                m_hasHost = !newOwner.isEmpty();
                emit changed();
            });
}

bool StatusArea::isAvailable() const
{
    return m_hasHost.value_or(QSystemTrayIcon::isSystemTrayAvailable());
}

bool StatusArea::eventFilter(QObject* watched, QEvent* event)
{
    const bool comesOrGoes = event->type() == QEvent::Show || event->type() == QEvent::Hide;
    if (comesOrGoes && isIconWindow(*watched))
        QMetaObject::invokeMethod(this, &StatusArea::changed, Qt::QueuedConnection); // once Qt has done with it
    return QObject::eventFilter(watched, event);
}
