#pragma once

#include "shell/NeloMenuBarApp.h"
#include "support/DialogRobot.h"
#include "support/ScriptedBackend.h"

#include <QString>

#include <functional>
#include <vector>

class FakePlatform;
class QMenu;
class ViewController;

/// Every window, tab and dialog of the program with something in it, on a scripted backend and a home of its own.
class Gallery final
{
public:
    /// What is done to a window or dialog while it is on the screen. The name says which one it is.
    using Look = std::function<void(const QString& name, QWidget& window)>;

    Gallery();
    Gallery(const Gallery&) = delete;
    Gallery& operator=(const Gallery&) = delete;
    ~Gallery();

    /// Shows each window, tab and dialog, in the order in which a user would see them, calls `look` and closes it. The
    /// test fails when one of them was not shown.
    void showEach(const Look& look);

    /// Waits until the layouts of what is shown are complete. A layout tells the layout around it about its new size in
    /// another turn of the event loop, so that nested layouts need several turns.
    static void layOut();

private:
    struct Picture
    {
        QString name;
        std::function<void()> show;
    };

    std::vector<Picture> pictures();

    QMenu* menu() const;
    QWidget* window(const QString& title) const;
    QWidget* tab(const QString& label);
    QWidget* skills(int row);
    QWidget* chat();
    /// Calls `m_look` for `window`, which is on the screen, and closes it.
    void look(QWidget* window);
    /// Shows a new window with `content`.
    void lookAtNew(const QString& title, QSize size, ViewController* content);
    /// Shows the dialog that `open` opens. The dialogs that are open before it get the answers in `before`.
    void lookAtDialog(const std::function<void()>& open, std::vector<DialogRobot::Answer> before = {});

    ScriptedBackend m_backend;
    FakePlatform* m_platform; // m_app owns it
    NeloMenuBarApp m_app;
    Look m_look;
    QString m_name; // of what is shown
    bool m_hasLooked = false;
};
