#include "ui/Announcer.h"

#include <QWidget>

namespace {

/// What is announced last. Screen readers know of no event that carries a text, but they read a notification that is
/// shown.
class NotificationAccessible final : public QAccessibleInterface
{
public:
    explicit NotificationAccessible(const QWidget& source) : m_source(source) {}

    bool isValid() const override { return true; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return m_source.window()->windowHandle(); }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(m_source.window()); }
    QAccessibleInterface* childAt(int /*x*/, int /*y*/) const override { return nullptr; }
    QAccessibleInterface* child(int /*index*/) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface* /*child*/) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::Notification; }
    QAccessible::State state() const override { return {}; }
    QRect rect() const override { return {m_source.mapToGlobal(QPoint()), m_source.size()}; }
    QString text(QAccessible::Text kind) const override { return kind == QAccessible::Name ? m_text : QString(); }
    void setText(QAccessible::Text /*kind*/, const QString& text) override { m_text = text; }

private:
    const QWidget& m_source;
    QString m_text;
};

} // namespace

Announcer::Announcer(QWidget& source) : m_source(source)
{}

Announcer::~Announcer()
{
    if (m_notification != 0)
        QAccessible::deleteAccessibleInterface(m_notification);
}

void Announcer::announce(const QString& text)
{
    if (!QAccessible::isActive() || !m_source.isVisible())
        return;
    if (m_notification == 0)
        m_notification = QAccessible::registerAccessibleInterface(new NotificationAccessible(m_source));
    QAccessibleInterface* notification = QAccessible::accessibleInterface(m_notification);
    notification->setText(QAccessible::Name, text);
    QAccessibleEvent event(notification, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&event);
}
