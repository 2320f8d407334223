#pragma once

#include <QMargins>
#include <QWidget>

class ViewController;

/// A top-level window: titled, closable, minimisable and resizable, never smaller than it starts, centred on its
/// screen. It remembers nothing. Closing, which the system's key for that does too, hides it.
class NeloWindow final : public QWidget
{
    Q_OBJECT

public:
    /// `contentSize` is the initial and the smallest size in device-independent pixels; with larger text both grow as
    /// far as the screen allows. On a screen that has no room for it and the frame, both are what is available.
    NeloWindow(const QString& title, QSize contentSize);

    /// Fills the window with `controller`, which it then owns, and has its view built. It scrolls when the window is
    /// too small for it.
    void setContentViewController(ViewController* controller);

    /// Shows the window, restored if it was minimised, in front of every other one and with the keyboard.
    void makeKeyAndOrderFront();

protected:
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void placeOnScreen(const QMargins& frame);

    QSize m_contentSize; // where the screen has room
    bool m_hasKnownFrame = false;
};
