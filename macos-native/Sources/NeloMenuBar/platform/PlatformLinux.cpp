#include "platform/Platform.h"
#include "platform/SessionAge.h"
#include "platform/SettingsPortal.h"
#include "platform/SparklesIcon.h"
#include "platform/StartupNotification.h"
#include "platform/StatusNotifierHost.h"
#include "platform/StatusNotifierItem.h"
#include "platform/XEmbedTray.h"

#include <QApplication>
#include <QCursor>
#include <QDBusConnection>
#include <QMenu>
#include <QScreen>
#include <QSystemTrayIcon>

#include <utility>

namespace {

/// Opens `menu` at the item, or at the pointer when the item's place is not known.
void openMenu(const QSystemTrayIcon& item, QMenu* menu)
{
    const QRect icon = item.geometry();
    const QScreen* screen = QGuiApplication::screenAt(icon.center());
    menu->popup(icon.isValid() && screen ? menuPosition(icon, menu->sizeHint(), screen->geometry()) : QCursor::pos());
}

/// A Linux desktop. Its status area draws the item that is described on the session bus, or embeds a window of the
/// program, as X11 trays do. It may change from one kind to the other. The first kind is preferred.
class LinuxPlatform final : public Platform
{
public:
    LinuxPlatform();

    void setActivationPolicy(ActivationPolicy /*policy*/) override {} // desktops list windows, not applications
    void activateApplication() override {} // window managers activate windows, not applications
    void setActivationToken(const QByteArray& token) override;
    void prepareToShow(QWidget& window) override;
    QIcon sparklesSymbol() const override { return sparklesIcon(); }
    void showStatusItem(const QString& name, const QIcon& icon, QMenu* menu) override;
    bool hasStatusArea() const override { return m_hasStatusArea; }
    std::optional<std::chrono::milliseconds> sessionAge() const override
    {
        return ::sessionAge(QDBusConnection::sessionBus());
    }
    ColorScheme colorScheme() const override { return m_settings.colorScheme(); }

private:
    bool isDrawn() const { return m_host.isRegistered() == true; }
    bool opensMenuItself() const;
    bool isEmbedded() const;
    void followStatusArea();
    void showInStatusArea();
    void makeEmbeddedItem();
    void openMenuOverAlert();

    SettingsPortal m_settings{QDBusConnection::sessionBus()};
    StatusNotifierHost m_host{QDBusConnection::sessionBus()};
    XEmbedTray m_tray;
    bool m_hasStatusArea = false;
    std::unique_ptr<StatusNotifierItem> m_drawnItem;
    /// Made when it is embedded for the first time, and kept: Qt decides only then whether it embeds this item.
    std::unique_ptr<QSystemTrayIcon> m_embeddedItem;
    QString m_name;
    QIcon m_icon;
    QMenu* m_menu = nullptr; // not owned
};

LinuxPlatform::LinuxPlatform()
{
    connect(&m_settings, &SettingsPortal::colorSchemeChanged, this, &LinuxPlatform::colorSchemeChanged);
    connect(&m_host, &StatusNotifierHost::changed, this, &LinuxPlatform::followStatusArea);
    connect(&m_tray, &XEmbedTray::changed, this, &LinuxPlatform::followStatusArea,
            Qt::QueuedConnection); // Qt handles it first
    connect(&m_tray, &XEmbedTray::iconPressed, this, &LinuxPlatform::openMenuOverAlert, Qt::QueuedConnection);
    followStatusArea();
}

void LinuxPlatform::setActivationToken(const QByteArray& token)
{
    completeStartup(token);
    if (!token.isEmpty() && QGuiApplication::platformName() == QStringLiteral("wayland"))
        qputenv("XDG_ACTIVATION_TOKEN", token); // Qt reads it when it activates a window
}

/// Hides the window when there is no token. Wayland brings a window to the front with the token of the user's choice,
/// or when it is newly shown.
void LinuxPlatform::prepareToShow(QWidget& window)
{
    const bool isWayland = QGuiApplication::platformName() == QStringLiteral("wayland");
    if (isWayland && !window.isActiveWindow() && !qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"))
        window.hide();
}

void LinuxPlatform::showStatusItem(const QString& name, const QIcon& icon, QMenu* menu)
{
    m_name = name;
    m_icon = icon;
    m_menu = menu;
    showInStatusArea();
}

void LinuxPlatform::followStatusArea()
{
    const bool hadStatusArea = std::exchange(m_hasStatusArea, isDrawn() || isEmbedded());
    if (m_menu)
        showInStatusArea();
    if (m_hasStatusArea != hadStatusArea)
        emit statusAreaChanged();
}

/// Returns whether a tray embeds the item. Qt takes KDE's daemon for a host, also while there is none: it would
/// describe its first item to the daemon for good, and embed it in no tray.
bool LinuxPlatform::isEmbedded() const
{
    return m_host.isRegistered() == false && m_tray.isThere() && (m_embeddedItem || !m_host.isKde());
}

/// Returns whether we open the menu when a panel activates the item. On Wayland a menu without a parent would be an
/// ordinary window.
bool LinuxPlatform::opensMenuItself() const
{
    const bool isX11 =
        QGuiApplication::platformName() == QStringLiteral("xcb")
        && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY"); // with it, the X server is a part of a Wayland desktop
    return isX11 && !m_host.isKde();
}

void LinuxPlatform::showInStatusArea()
{
    if (isDrawn()) {
        if (!m_drawnItem) {
            m_drawnItem = std::make_unique<StatusNotifierItem>(m_name, m_icon, m_menu->actions());
            connect(m_drawnItem.get(), &StatusNotifierItem::activationTokenProvided, this,
                    &LinuxPlatform::setActivationToken);
            connect(m_drawnItem.get(), &StatusNotifierItem::activated, m_menu,
                    [this] { m_menu->popup(QCursor::pos()); });
        }
        m_drawnItem->setActivatable(opensMenuItself());
        m_drawnItem->registerWithWatcher();
        if (m_embeddedItem)
            m_embeddedItem->hide();
    } else if (isEmbedded()) {
        if (!m_embeddedItem)
            makeEmbeddedItem();
        m_embeddedItem->show();
    }
}

void LinuxPlatform::makeEmbeddedItem()
{
    m_embeddedItem = std::make_unique<QSystemTrayIcon>(m_icon);
    m_embeddedItem->setToolTip(m_name);
    m_embeddedItem->setContextMenu(m_menu);
    connect(m_embeddedItem.get(), &QSystemTrayIcon::activated, m_menu,
            [this](QSystemTrayIcon::ActivationReason reason) {
                // A user who opens the menu twice quickly makes a double click.
                if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
                    openMenu(*m_embeddedItem, m_menu);
            });
}

/// Opens the menu while an alert is open. Qt passes no click on to the item then.
void LinuxPlatform::openMenuOverAlert()
{
    if (m_embeddedItem && QApplication::activeModalWidget())
        openMenu(*m_embeddedItem, m_menu);
}

} // namespace

std::unique_ptr<Platform> makePlatform()
{
    return std::make_unique<LinuxPlatform>();
}
