#include "ui/Announcer.h"

#include <QApplication>
#include <QWidget>

#include <utility>

namespace {

/// One announcement. Screen readers know of no event that carries a text, but they read a notification that is shown.
class NotificationAccessible final : public QAccessibleInterface
{
public:
    NotificationAccessible(const QWidget& source, QString text) : m_source(source), m_text(std::move(text)) {}

    bool isValid() const override { return true; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return m_source.window()->windowHandle(); }
    /// The program and not the window: of an object in a dialog, Orca would read the dialog's texts first.
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(qApp); }
    QAccessibleInterface* childAt(int /*x*/, int /*y*/) const override { return nullptr; }
    QAccessibleInterface* child(int /*index*/) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface* /*child*/) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::Notification; }
    QAccessible::State state() const override { return {}; }
    QRect rect() const override { return {m_source.mapToGlobal(QPoint()), m_source.size()}; }
    QString text(QAccessible::Text kind) const override { return kind == QAccessible::Name ? m_text : QString(); }
    void setText(QAccessible::Text /*kind*/, const QString& /*text*/) override {}

private:
    const QWidget& m_source;
    QString m_text;
};

} // namespace

Announcer::Announcer(QWidget& source) : m_source(source)
{}

Announcer::~Announcer()
{
    clear();
}

void Announcer::announce(const QString& text)
{
    if (!QAccessible::isActive() || !m_source.isVisible())
        return;
    // A screen reader asks for the text some time after the event. If one notification changed its text, it would read
    // the later of two texts twice.
    clear();
    auto* notification = new NotificationAccessible(m_source, text); // Qt's cache owns it
    m_notification = QAccessible::registerAccessibleInterface(notification);
    QAccessibleEvent event(notification, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&event);
}

void Announcer::clear()
{
    QAccessible::deleteAccessibleInterface(std::exchange(m_notification, 0)); // 0 is no interface's
}
