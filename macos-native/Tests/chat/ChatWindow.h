#pragma once

#include "support/HttpServer.h"
#include "support/TestHome.h"

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

#include <functional>
#include <memory>

class ChatViewController;
class NeloWindow;
class TranscriptView;

/// The chat in a window of its own, with a temporary home, user defaults of its own, and a server that the requests of
/// every provider go to.
class ChatWindow final
{
public:
    ChatWindow();
    ChatWindow(const ChatWindow&) = delete;
    ChatWindow& operator=(const ChatWindow&) = delete;
    ~ChatWindow();

    /// Makes and shows the window, on what the home holds by now.
    void open();
    /// Ends the window and everything in it.
    void close();

    /// A control of the window by its object name.
    template <class Control> Control* find(const char* name) const
    {
        return window()->findChild<Control*>(QLatin1String(name));
    }
    QWidget* window() const;
    TranscriptView* transcript() const;
    QLineEdit* inputField() const { return find<QLineEdit>("inputField"); }
    QPushButton* sendButton() const { return find<QPushButton>("sendButton"); }
    QPushButton* plusButton() const { return find<QPushButton>("plusButton"); }
    QComboBox* modelPopup() const { return find<QComboBox>("modelPopup"); }

    /// The status line.
    QString status() const { return find<QLabel>("debugLabel")->text(); }
    /// The bubbles from the top, each as "Me: text" or "Nelo: text".
    QStringList bubbles() const;
    /// Types `text` and presses Return.
    void send(const QString& text) const;
    void storeKey(const QString& provider, const QString& key) const;
    QString storedKey(const QString& provider) const;

    /// The log's messages, without their times.
    QStringList logEntries() const;
    /// The role and content of every message of request `index`, each as "role: content".
    QStringList sentMessages(qsizetype index) const;

    TestHome home;
    HttpServer server;

private:
    std::unique_ptr<NeloWindow> m_window;
};

/// What an alert or dialog says, taken when it was open.
struct SeenDialog
{
    QString title;
    QString text;
    QStringList buttons; // from right to left
    QString fieldPlaceholder;
    bool isMasked = false;
    QSize fieldSize;
};

/// Lets `work` run, waits for the dialog that it opens, does `act` to it, and returns what it said.
using DialogAction = std::function<void(QDialog&)>;
SeenDialog answerDialog(const std::function<void()>& work, const DialogAction& act);
/// The same for dialogs that open one after the other.
QList<SeenDialog> answerDialogs(const std::function<void()>& work, const QList<DialogAction>& acts);
