#include "chat/transcript/TranscriptAccessible.h"

#include "chat/transcript/TranscriptView.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>

#include <algorithm>
#include <vector>

namespace {

class BubbleAccessible final : public QAccessibleInterface
{
public:
    BubbleAccessible(TranscriptView* view, int index) : m_view(view), m_index(index) {}

    bool isValid() const override { return m_view != nullptr && m_index < m_view->count(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return parent()->window(); }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(m_view); }
    QAccessibleInterface* childAt(int /*x*/, int /*y*/) const override { return nullptr; }
    QAccessibleInterface* child(int /*index*/) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface* /*child*/) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    void setText(QAccessible::Text /*kind*/, const QString& /*text*/) override {}

    int index() const { return m_index; }

    QString text(QAccessible::Text kind) const override
    {
        if (!isValid())
            return {};
        const Bubble& bubble = m_view->bubble(m_index);
        switch (kind) {
        case QAccessible::Name:
            return bubble.text();
        case QAccessible::Description:
            return nameOf(bubble.speaker());
        default:
            return {};
        }
    }

    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect bubble = m_view->bubbleRect(m_index);
        return {m_view->viewport()->mapToGlobal(bubble.topLeft()), bubble.size()};
    }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        const QWidget* viewport = m_view->viewport();
        state.readOnly = true;
        state.multiLine = true;
        state.focusable = true;
        state.focused = m_view->hasFocus() && m_view->currentBubble() == m_index;
        state.invisible = !m_view->isVisible();
        state.offscreen = !viewport->rect().intersects(m_view->bubbleRect(m_index));
        return state;
    }

private:
    QPointer<TranscriptView> m_view;
    int m_index;
};

class ListAccessible final : public QAccessibleWidget
{
public:
    explicit ListAccessible(TranscriptView* view) : QAccessibleWidget(view, QAccessible::List), m_view(view) {}
    ListAccessible(const ListAccessible&) = delete;
    ListAccessible& operator=(const ListAccessible&) = delete;

    ~ListAccessible() override
    {
        for (const QAccessible::Id id : m_children)
            QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override { return m_view->count(); }

    QAccessibleInterface* child(int index) const override
    {
        if (index < 0 || index >= childCount())
            return nullptr;
        m_children.resize(std::max(m_children.size(), static_cast<std::size_t>(childCount())));
        QAccessible::Id& id = m_children[static_cast<std::size_t>(index)];
        if (id == 0)
            id = QAccessible::registerAccessibleInterface(new BubbleAccessible(m_view, index)); // Qt's cache owns it
        return QAccessible::accessibleInterface(id);
    }

    int indexOfChild(const QAccessibleInterface* child) const override
    {
        const auto* bubble = dynamic_cast<const BubbleAccessible*>(child);
        return bubble && bubble->isValid() ? bubble->index() : -1;
    }

    QAccessibleInterface* childAt(int x, int y) const override
    {
        return child(m_view->bubbleAt(m_view->viewport()->mapFromGlobal(QPoint(x, y))));
    }

    QAccessibleInterface* focusChild() const override
    {
        return m_view->hasFocus() ? child(m_view->currentBubble()) : nullptr;
    }

private:
    TranscriptView* m_view;
    mutable std::vector<QAccessible::Id> m_children; // 0 for a bubble that nobody has asked for
};

QAccessibleInterface* makeInterface(const QString& /*className*/, QObject* object)
{
    auto* view = qobject_cast<TranscriptView*>(object);
    return view ? new ListAccessible(view) : nullptr;
}

void send(TranscriptView* view, int index, QAccessible::Event type)
{
    if (index < 0 || !QAccessible::isActive())
        return; // sending would make an interface that nobody reads
    QAccessibleEvent event(QAccessible::queryAccessibleInterface(view)->child(index), type);
    QAccessible::updateAccessibility(&event);
}

} // namespace

void TranscriptAccessible::install()
{
    QAccessible::installFactory(makeInterface);
}

void TranscriptAccessible::announceNewest(TranscriptView* view)
{
    send(view, view->count() - 1, QAccessible::ObjectCreated);
}

void TranscriptAccessible::announceFocus(TranscriptView* view)
{
    // After the event, Qt reports that the view has the focus. The bubble must be reported last.
    QMetaObject::invokeMethod(
        view,
        [view] {
            if (view->hasFocus())
                send(view, view->currentBubble(), QAccessible::Focus);
        },
        Qt::QueuedConnection);
}
