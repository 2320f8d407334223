#include "shell/legibility/Access.h"

#include "shell/legibility/ShownText.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QLabel>
#include <QMetaEnum>
#include <QTest>
#include <QTextDocumentFragment>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

using Node = QAccessibleInterface;

/// `node` and what is under it, as far as it is visible.
std::vector<Node*> visibleFrom(Node* node)
{
    if (node->state().invisible)
        return {};
    std::vector<Node*> nodes{node};
    for (int index = 0; index < node->childCount(); ++index) {
        const std::vector<Node*> below = visibleFrom(node->child(index));
        nodes.insert(nodes.end(), below.begin(), below.end());
    }
    return nodes;
}

std::vector<Node*> visibleNodes(QWidget& window)
{
    return visibleFrom(QAccessible::queryAccessibleInterface(&window));
}

/// What `node` is and says, for a message about it.
QString describe(Node& node)
{
    const auto role = QMetaEnum::fromType<QAccessible::Role>().valueToKey(node.role());
    const QObject* object = node.object();
    const QString place = object ? QLatin1String(object->metaObject()->className()) + u' ' + object->objectName()
                                 : u"in "_s + node.parent()->text(QAccessible::Name);
    return u"%1 \"%2\" (%3)"_s.arg(QLatin1String(role), node.text(QAccessible::Name), place);
}

/// The caption that has `node` as its buddy.
QString captionOf(Node& node)
{
    const auto labels = node.relations(QAccessible::Label);
    return labels.isEmpty() ? QString() : labels.front().first->text(QAccessible::Name);
}

QString nameOf(Node& node)
{
    if (node.role() != QAccessible::ComboBox)
        return node.text(QAccessible::Name);
    // On Linux, Qt names a pop-up after its current item; what that is a choice of, only these two tell.
    const QString description = node.text(QAccessible::Description);
    return description.isEmpty() ? captionOf(node) : description;
}

bool isEmptyCell(Node& node)
{
    const QAccessibleTableCellInterface* cell = node.tableCellInterface();
    const auto* view = cell ? qobject_cast<QAbstractItemView*>(cell->table()->object()) : nullptr;
    return view && view->model()->index(cell->rowIndex(), cell->columnIndex()).data().toString().isEmpty();
}

/// Whether what is like this is of use only to who can operate it, whatever its focus policy says.
bool isOperatedByRole(QAccessible::Role role)
{
    switch (role) {
    case QAccessible::Button:
    case QAccessible::CheckBox:
    case QAccessible::RadioButton:
    case QAccessible::ComboBox:
    case QAccessible::EditableText:
    case QAccessible::Table:
    case QAccessible::List:
    case QAccessible::PageTabList:
    case QAccessible::Link:
        return true;
    default:
        return false;
    }
}

/// The widget that takes the keyboard for `node`; none for what has no widget of its own, to which arrow keys lead
/// inside one that has (cells, tabs, bubbles, menu items), and for what cannot be operated.
QWidget* operatedWidget(Node& node)
{
    auto* widget = qobject_cast<QWidget*>(node.object());
    if (!widget || node.state().disabled)
        return nullptr;
    const auto* label = qobject_cast<QLabel*>(widget);
    const bool holdsLink = label && label->text().contains(u"</a>");
    const bool wantsTab = widget->focusPolicy() & Qt::TabFocus;
    if (!wantsTab && !holdsLink && !isOperatedByRole(node.role()))
        return nullptr;
    while (widget->focusProxy())
        widget = widget->focusProxy();
    return widget;
}

/// Whether `node` neither does nor says anything of its own. A role that is not known here needs a name.
bool needsNoName(Node& node)
{
    switch (node.role()) {
    case QAccessible::Client: // only holds others, which are named, and hands them the keyboard
        return operatedWidget(node) != node.object();
    case QAccessible::LayeredPane: // the pages of tabs: the tab in front names the one that is seen
    case QAccessible::Pane:        // the corner of a table between its two headers, which does nothing
    case QAccessible::Border:      // a line between sections, which have titles
    case QAccessible::Separator:   // a line in a menu
        return true;
    case QAccessible::Cell: // a value that is missing: the header tells which
        return isEmptyCell(node);
    default:
        return false;
    }
}

/// What `node` tells whoever asks, the items that a pop-up offers among it.
QStringList toldBy(Node& node)
{
    QStringList told{node.text(QAccessible::Name), node.text(QAccessible::Description), node.text(QAccessible::Value)};
    const Node* list = node.role() == QAccessible::ComboBox ? node.child(0) : nullptr;
    for (int item = 0; list && item < list->childCount(); ++item)
        told.append(list->child(item)->text(QAccessible::Name));
    return told;
}

QString withoutMarkup(const QString& text)
{
    return text.contains(u"</a>") ? QTextDocumentFragment::fromHtml(text).toPlainText() : text;
}

/// What gets the keyboard by Tab from the first control on, until it comes round.
QWidgetList reachedByTab(QWidget& window)
{
    if (window.focusWidget())
        window.focusWidget()->clearFocus();
    QWidgetList reached;
    Qt::Key way = Qt::Key_Tab;
    int stays = 0;
    while (true) {
        QTest::keyClick(window.focusWidget() ? window.focusWidget() : &window, way);
        QWidget* focused = window.focusWidget();
        const bool stayed = !reached.isEmpty() && focused == reached.constLast();
        if (stayed && ++stays == 1)
            continue; // a label gives the keyboard to its link before it lets go
        if (stayed && way == Qt::Key_Tab) {
            way = Qt::Key_Backtab; // a text in which Tab is a character lets go by Shift+Tab
            continue;
        }
        if (!focused || reached.contains(focused))
            return reached;
        stays = 0;
        reached.append(focused);
    }
}

} // namespace

QStringList Access::nameless(QWidget& window)
{
    QStringList found;
    for (Node* node : visibleNodes(window)) {
        if (nameOf(*node).trimmed().isEmpty() && !needsNoName(*node))
            found.append(u"nameless: "_s + describe(*node));
    }
    return found;
}

QStringList Access::untold(QWidget& window)
{
    QStringList told;
    for (Node* node : visibleNodes(window))
        told += toldBy(*node);
    QStringList found;
    for (const ShownText& shown : textsShownBy(window)) {
        if (!told.contains(withoutMarkup(shown.text)))
            found.append(u"untold: \"%1\" (%2)"_s.arg(shown.text, shown.place));
    }
    return found;
}

QStringList Access::beyondTab(QWidget& window)
{
    const QWidgetList reached = reachedByTab(window);
    QStringList found;
    for (Node* node : visibleNodes(window)) {
        QWidget* widget = operatedWidget(*node);
        if (widget && !reached.contains(widget))
            found.append(u"beyond Tab: "_s + describe(*node));
    }
    return found;
}

QStringList Access::outOfOrder(QWidget& window)
{
    constexpr int line = 20; // pixels: what is as high is in one line
    std::vector<QRect> order;
    for (const QWidget* widget : reachedByTab(window))
        order.emplace_back(widget->mapTo(&window, QPoint()), widget->size());
    const auto isBefore = [](const QRect& one, const QRect& other) {
        return std::pair(one.y(), one.x()) < std::pair(other.y(), other.x());
    };
    std::rotate(order.begin(), std::min_element(order.begin(), order.end(), isBefore), order.end());
    const auto turnsBack = std::adjacent_find(order.begin(), order.end(), [](const QRect& one, const QRect& next) {
        return next.y() <= one.y() - line && next.x() < one.x() + one.width();
    });
    if (turnsBack == order.end())
        return {};
    return {u"out of order, after the control at %1, %2"_s.arg(turnsBack->x()).arg(turnsBack->y())};
}

QStringList Access::withoutSight(QWidget& window)
{
    QStringList found;
    for (QWidget* widget : reachedByTab(window)) {
        if (widget->isWindow())
            continue; // a menu, which shows it by the item in front
        widget->setFocus(Qt::TabFocusReason);
        const QImage focused = widget->grab().toImage();
        widget->clearFocus();
        if (focused == widget->grab().toImage())
            found.append(u"looks the same with the keyboard: "_s
                         + describe(*QAccessible::queryAccessibleInterface(widget)));
    }
    return found;
}

QStringList Access::rich(const QWidget& window)
{
    QStringList found;
    for (const QLabel* label : window.findChildren<QLabel*>()) {
        if (label->textFormat() != Qt::PlainText && !label->openExternalLinks())
            found.append(u"not plain: "_s + label->text());
    }
    return found;
}
