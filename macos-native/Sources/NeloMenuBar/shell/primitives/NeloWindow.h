#pragma once

#include <QMargins>
#include <QWidget>

class ViewController;

/// A top-level window with a title. It can be closed, minimised and resized, but not made smaller than at first. It
/// starts in the middle of its screen and remembers nothing. Closing it, also with the system's key, hides it.
class NeloWindow final : public QWidget
{
    Q_OBJECT

public:
    /// `contentSize` is the initial and the minimum size in device-independent pixels. With larger text both are
    /// larger, as far as the screen allows. On a screen without enough room for the window and its frame, both are what
    /// is available.
    NeloWindow(const QString& title, QSize contentSize);

    /// Fills the window with `controller`, takes ownership of it, and loads its view. The view scrolls when the window
    /// is too small for it.
    void setContentViewController(ViewController* controller);

    /// Shows the window in front of all others, gives it the keyboard focus, and restores it if it was minimised.
    void makeKeyAndOrderFront();

protected:
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void placeOnScreen(const QMargins& frame);

    QSize m_contentSize; // used when the screen has room for it
    bool m_hasBeenActive = false;
};
