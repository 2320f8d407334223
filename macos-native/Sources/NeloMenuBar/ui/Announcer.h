#pragma once

#include <QAccessible>

class QWidget;

/// Tells those who hear the program what they would see. A screen reader reads it at once, wherever the keyboard is.
class Announcer final
{
public:
    /// `source` is where the text can be seen; it outlives this.
    explicit Announcer(QWidget& source);
    ~Announcer();
    Announcer(const Announcer&) = delete;
    Announcer& operator=(const Announcer&) = delete;

    /// Announces `text`, in place of an earlier text that has not been read yet. Does nothing while `source` is hidden
    /// or no assistive technology listens.
    void announce(const QString& text);

private:
    void clear();

    QWidget& m_source;
    QAccessible::Id m_notification = 0; // 0 until something is announced
};
