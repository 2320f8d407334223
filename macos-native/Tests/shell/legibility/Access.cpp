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

/// Returns the visible nodes among `node` and its descendants.
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

/// Describes `node` for a message.
QString describe(Node& node)
{
    const auto role = QMetaEnum::fromType<QAccessible::Role>().valueToKey(node.role());
    const QObject* object = node.object();
    const QString place = object ? QLatin1String(object->metaObject()->className()) + u' ' + object->objectName()
                                 : u"in "_s + node.parent()->text(QAccessible::Name);
    return u"%1 \"%2\" (%3)"_s.arg(QLatin1String(role), node.text(QAccessible::Name), place);
}

bool isEmptyCell(Node& node)
{
    const QAccessibleTableCellInterface* cell = node.tableCellInterface();
    const auto* view = cell ? qobject_cast<QAbstractItemView*>(cell->table()->object()) : nullptr;
    return view && view->model()->index(cell->rowIndex(), cell->columnIndex()).data().toString().isEmpty();
}

/// Returns whether nodes with this role are useful only to users who can operate them.
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

/// Returns the widget that takes the keyboard focus for `node`. Returns null for a node that cannot be operated, and
/// for a node without a widget of its own (a cell, a tab, a bubble, a menu item): arrow keys reach it inside a widget.
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

/// Returns whether `node` has neither a function nor a text of its own. A role that is not known here needs a name.
bool needsNoName(Node& node)
{
    switch (node.role()) {
    case QAccessible::Client: // it only contains others, which have names, and gives them the focus
        return operatedWidget(node) != node.object();
    case QAccessible::Pane:      // the pages of tabs: the active tab names the visible one; the corner of a table
    case QAccessible::Border:    // a line between sections, which have titles
    case QAccessible::Separator: // a line in a menu
        return true;
    case QAccessible::Cell: // a missing value: the header says which one
        return isEmptyCell(node);
    default:
        return false;
    }
}

/// Returns the texts of `node`, and the items of a pop-up.
QStringList textsOf(Node& node)
{
    QStringList texts{node.text(QAccessible::Name), node.text(QAccessible::Description), node.text(QAccessible::Value)};
    const Node* list = node.role() == QAccessible::ComboBox ? node.child(0) : nullptr;
    for (int item = 0; list && item < list->childCount(); ++item)
        texts.append(list->child(item)->text(QAccessible::Name));
    return texts;
}

QString withoutMarkup(const QString& text)
{
    return text.contains(u"</a>") ? QTextDocumentFragment::fromHtml(text).toPlainText() : text;
}

/// Returns the widgets that get the keyboard focus by Tab, from the first one until the order begins again.
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
            continue; // a label gives the focus to its link first
        if (stayed && way == Qt::Key_Tab) {
            way = Qt::Key_Backtab; // Tab is a character in this text, and Shift+Tab leaves it
            continue;
        }
        if (!focused || reached.contains(focused))
            return reached;
        stays = 0;
        reached.append(focused);
    }
}

} // namespace

QStringList Access::withoutName(QWidget& window)
{
    QStringList found;
    for (Node* node : visibleNodes(window)) {
        if (node->text(QAccessible::Name).trimmed().isEmpty() && !needsNoName(*node))
            found.append(u"without a name: "_s + describe(*node));
    }
    return found;
}

QStringList Access::withoutAccessibleText(QWidget& window)
{
    QStringList texts;
    for (Node* node : visibleNodes(window))
        texts += textsOf(*node);
    QStringList found;
    for (const ShownText& shown : textsShownBy(window)) {
        if (!texts.contains(withoutMarkup(shown.text)))
            found.append(u"not in the accessible tree: \"%1\" (%2)"_s.arg(shown.text, shown.place));
    }
    return found;
}

QStringList Access::notReachedByTab(QWidget& window)
{
    const QWidgetList reached = reachedByTab(window);
    QStringList found;
    for (Node* node : visibleNodes(window)) {
        QWidget* widget = operatedWidget(*node);
        if (widget && !reached.contains(widget))
            found.append(u"not reached by Tab: "_s + describe(*node));
    }
    return found;
}

QStringList Access::outOfOrder(QWidget& window)
{
    constexpr int line = 20; // pixels: controls with a smaller distance are in one line
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

QStringList Access::withoutVisibleFocus(QWidget& window)
{
    QStringList found;
    for (QWidget* widget : reachedByTab(window)) {
        if (widget->isWindow())
            continue; // a menu shows the focus by its active item
        widget->setFocus(Qt::TabFocusReason);
        const QImage focused = widget->grab().toImage();
        widget->clearFocus();
        if (focused == widget->grab().toImage())
            found.append(u"looks the same with the focus: "_s
                         + describe(*QAccessible::queryAccessibleInterface(widget)));
    }
    return found;
}

QStringList Access::withRichText(const QWidget& window)
{
    QStringList found;
    for (const QLabel* label : window.findChildren<QLabel*>()) {
        if (label->textFormat() != Qt::PlainText && !label->openExternalLinks())
            found.append(u"rich text: "_s + label->text());
    }
    return found;
}
