#pragma once

#include <QWidget>

class ViewController;

/// A top-level window: titled, closable, minimisable and resizable, never smaller than it starts, centred on its
/// screen. It remembers nothing. Closing, which the system's key for that does too, hides it.
class NeloWindow final : public QWidget
{
    Q_OBJECT

public:
    /// `contentSize` is the initial and the smallest size in device-independent pixels; with larger text both grow as
    /// far as the screen allows.
    NeloWindow(const QString& title, QSize contentSize);

    /// Fills the window with `controller`, which it then owns, and has its view built.
    void setContentViewController(ViewController* controller);

    /// Shows the window, restored if it was minimised, in front of every other one and with the keyboard.
    void makeKeyAndOrderFront();

protected:
    void hideEvent(QHideEvent* event) override;
};
