#include "platform/DBusMenu.h"

#include <QAction>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>

#include <optional>
#include <utility>

namespace {

/// An item's id and properties, as GetGroupProperties returns them: (ia{sv}).
using ItemProperties = std::pair<int, QVariantMap>;

/// Returns the names of the keys of a shortcut, as GTK's panels know them.
QStringList keyNames(const QKeySequence& shortcut)
{
    const QKeyCombination keys = shortcut[0];
    QStringList names;
    if (keys.keyboardModifiers().testFlag(Qt::ControlModifier))
        names.append(QStringLiteral("Control"));
    names.append(keys.key() == Qt::Key_Comma ? QStringLiteral("comma") : QString(QChar(keys.key())).toLower());
    return names;
}

QVariantMap propertiesOf(const QAction& action)
{
    if (action.isSeparator())
        return {{QStringLiteral("type"), QStringLiteral("separator")}};
    QVariantMap properties{{QStringLiteral("label"), action.text()}};
    if (!action.shortcut().isEmpty())
        properties.insert(QStringLiteral("shortcut"),
                          QVariant::fromValue(QList<QStringList>{keyNames(action.shortcut())}));
    return properties;
}

/// Returns the menu or an item with its children: (ia{sv}av).
QVariant layout(int id, const QVariantMap& properties, const QList<QDBusVariant>& children)
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << id << properties << children;
    argument.endStructure();
    return QVariant::fromValue(argument);
}

} // namespace

DBusMenu::DBusMenu(const QList<QAction*>& items, QObject* parent) : QDBusVirtualObject(parent), m_items(items)
{
    qDBusRegisterMetaType<QList<QStringList>>();
    qDBusRegisterMetaType<ItemProperties>();
    qDBusRegisterMetaType<QList<ItemProperties>>();
}

bool DBusMenu::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    const std::optional<QVariantList> results = resultsOf(message.member(), message.arguments());
    return results && connection.send(message.createReply(*results));
}

QString DBusMenu::introspect(const QString& /*path*/) const
{
    return {}; // panels know the standard interface
}

std::optional<QVariantList> DBusMenu::resultsOf(const QString& method, const QVariantList& arguments)
{
    const QVariantMap ofMenu{{QStringLiteral("children-display"), QStringLiteral("submenu")}};
    const uint revision = 1;
    if (method == QStringLiteral("GetLayout")) {
        QList<QDBusVariant> items;
        for (int i = 0; i < m_items.size(); ++i)
            items.append(QDBusVariant(layout(i + 1, propertiesOf(*m_items[i]), {})));
        return QVariantList{revision, layout(0, ofMenu, items)};
    }
    if (method == QStringLiteral("GetGroupProperties")) {
        QList<ItemProperties> all{{0, ofMenu}};
        for (int i = 0; i < m_items.size(); ++i)
            all.append({i + 1, propertiesOf(*m_items[i])});
        return QVariantList{QVariant::fromValue(all)};
    }
    if (method == QStringLiteral("Event")) {
        handleEvent(arguments.value(0).toInt(), arguments.value(1).toString());
        return QVariantList{};
    }
    if (method == QStringLiteral("AboutToShow"))
        return QVariantList{false}; // the layout has not changed
    if (method == QStringLiteral("GetAll") || method == QStringLiteral("Get")) {
        const QVariantMap properties{{QStringLiteral("Version"), 2U},
                                     {QStringLiteral("Status"), QStringLiteral("normal")},
                                     {QStringLiteral("TextDirection"), QStringLiteral("ltr")},
                                     {QStringLiteral("IconThemePath"), QStringList()}};
        if (method == QStringLiteral("GetAll"))
            return QVariantList{properties};
        const auto found = properties.find(arguments.value(1).toString());
        if (found != properties.end())
            return QVariantList{QVariant::fromValue(QDBusVariant(*found))};
    }
    return std::nullopt;
}

void DBusMenu::handleEvent(int id, const QString& event)
{
    // The action runs after the reply was sent: the panel waits for the reply, and the action may end the program.
    if (event == QStringLiteral("clicked") && id > 0 && id <= m_items.size())
        QMetaObject::invokeMethod(m_items[id - 1], &QAction::trigger, Qt::QueuedConnection);
}
