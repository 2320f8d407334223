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
    /// What is done to a window or dialog while it is on the screen.
    using Look = std::function<void(QWidget& window)>;

    Gallery();
    Gallery(const Gallery&) = delete;
    Gallery& operator=(const Gallery&) = delete;
    ~Gallery();

    /// What there is, in the order in which a user would meet it.
    static QStringList names();

    /// Shows what is called `name`, has `look` look at it, and closes it. Returns whether `look` got to see it.
    bool show(const QString& name, const Look& look);

    /// Has what is shown laid out. A layout tells the one around it of its new size in a turn of the event loop of its
    /// own, so that nested ones take several.
    static void layOut();

private:
    struct Picture
    {
        QString name;
        std::function<void(Gallery& gallery)> show;
    };

    static const std::vector<Picture>& pictures();

    QMenu* menu() const;
    QWidget* window(const QString& title) const;
    QWidget* tab(const QString& label);
    QWidget* skills(int row);
    QWidget* chat();
    /// Looks at `window`, which is on the screen, and closes it.
    void look(QWidget* window);
    /// Looks at a new window with `content`.
    void lookAtNew(const QString& title, QSize size, ViewController* content);
    /// Looks at the dialog that `open` opens, once those that come before it have their answers.
    void lookAtDialog(const std::function<void()>& open, std::vector<DialogRobot::Answer> before = {});

    ScriptedBackend m_backend;
    FakePlatform* m_platform; // m_app owns it
    NeloMenuBarApp m_app;
    Look m_look;
    bool m_hasLooked = false;
};
