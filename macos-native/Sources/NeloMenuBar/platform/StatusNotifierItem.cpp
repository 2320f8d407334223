#include "platform/StatusNotifierItem.h"

#include "platform/SparklesIcon.h"
#include "platform/StatusNotifierHost.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QtEndian>

namespace {

/// A picture of the item: width, height and its pixels in network byte order, (iiay).
struct IconPixmap
{
    int width = 0;
    int height = 0;
    QByteArray pixels;
};

QDBusArgument& operator<<(QDBusArgument& argument, const IconPixmap& pixmap)
{
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.pixels;
    argument.endStructure();
    return argument;
}

/// No one sends this type to us, but QtDBus needs both directions.
const QDBusArgument& operator>>(const QDBusArgument& argument, IconPixmap& pixmap)
{
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.pixels;
    argument.endStructure();
    return argument;
}

QList<IconPixmap> pixmapsOf(const QIcon& icon)
{
    QList<IconPixmap> pixmaps;
    for (const int side : panelIconSides) {
        QImage image = icon.pixmap(QSize(side, side), 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
        if (image.width() != side)
            image = image.scaled(side, side, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        QByteArray pixels(image.sizeInBytes(), Qt::Uninitialized);
        qToBigEndian<quint32>(image.constBits(), image.sizeInBytes() / qsizetype{sizeof(quint32)}, pixels.data());
        pixmaps.append({side, side, pixels});
    }
    return pixmaps;
}

/// Icon name, pictures, title and text: (sa(iiay)ss).
QVariant toolTip(const QString& title)
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << QString() << QList<IconPixmap>() << title << QString();
    argument.endStructure();
    return QVariant::fromValue(argument);
}

QString itemPath()
{
    return QStringLiteral("/StatusNotifierItem");
}

QString menuPath()
{
    return QStringLiteral("/StatusNotifierItem/Menu");
}

} // namespace

StatusNotifierItem::StatusNotifierItem(const QString& name, const QIcon& icon, const QList<QAction*>& menuItems,
                                       QObject* parent)
    : QDBusVirtualObject(parent), m_menu(menuItems)
{
    qDBusRegisterMetaType<IconPixmap>();
    qDBusRegisterMetaType<QList<IconPixmap>>();
    m_properties = {{QStringLiteral("Category"), QStringLiteral("ApplicationStatus")},
                    {QStringLiteral("Id"), name},
                    {QStringLiteral("Title"), name},
                    {QStringLiteral("Status"), QStringLiteral("Active")},
                    {QStringLiteral("IconName"), QString()},
                    {QStringLiteral("IconPixmap"), QVariant::fromValue(pixmapsOf(icon))},
                    {QStringLiteral("ToolTip"), toolTip(name)},
                    {QStringLiteral("ItemIsMenu"), true},
                    {QStringLiteral("Menu"), QVariant::fromValue(QDBusObjectPath(menuPath()))}};
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.registerVirtualObject(itemPath(), this);
    bus.registerVirtualObject(menuPath(), &m_menu);
}

StatusNotifierItem::~StatusNotifierItem()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(menuPath());
    bus.unregisterObject(itemPath());
}

void StatusNotifierItem::registerWithWatcher()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    QDBusMessage call =
        QDBusMessage::createMethodCall(StatusNotifierWatcher::service, StatusNotifierWatcher::path,
                                       StatusNotifierWatcher::service, QStringLiteral("RegisterStatusNotifierItem"));
    call << bus.baseService();
    bus.asyncCall(call);
}

/// Answers a call of a panel. Panels that know `ItemIsMenu` do not call `Activate`. Of the others, some open the menu
/// after an error and some open nothing.
bool StatusNotifierItem::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    const QString method = message.member();
    const QVariantList arguments = message.arguments();
    if (method == QStringLiteral("GetAll"))
        return connection.send(message.createReply(m_properties));
    if (method == QStringLiteral("Get")) {
        const auto found = m_properties.constFind(arguments.value(1).toString());
        return found != m_properties.constEnd()
               && connection.send(message.createReply(QVariant::fromValue(QDBusVariant(*found))));
    }
    if (method == QStringLiteral("ProvideXdgActivationToken")) {
        emit activationTokenProvided(arguments.value(0).toString().toUtf8());
        return connection.send(message.createReply());
    }
    if (method == QStringLiteral("Activate") && m_isActivatable) {
        emit activated();
        return connection.send(message.createReply());
    }
    const QString text = QStringLiteral("The item has no method %1.").arg(method);
    return connection.send(message.createErrorReply(QDBusError::UnknownMethod, text));
}

QString StatusNotifierItem::introspect(const QString& /*path*/) const
{
    return {}; // panels know the standard interface
}
