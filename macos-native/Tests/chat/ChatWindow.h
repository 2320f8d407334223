#pragma once

#include "chat/ChatServer.h"
#include "support/DialogRobot.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <chrono>
#include <memory>

class NeloWindow;
class TranscriptView;

/// The chat in a window of its own, with user defaults of its own.
class ChatWindow final : public ChatServer
{
public:
    ChatWindow();
    ChatWindow(const ChatWindow&) = delete;
    ChatWindow& operator=(const ChatWindow&) = delete;
    ~ChatWindow();

    /// Makes and shows the window. It loads what is in the home folder now.
    void open();
    /// Stores the key "sk-" and its name for every provider, and opens the window.
    void openWithKeys();
    /// Deletes the window.
    void close();

    /// Returns the control with this object name.
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

    /// Returns the text of the status line.
    QString status() const { return find<QLabel>("debugLabel")->text(); }
    /// Returns the bubbles from the top, each as "Me: text" or "Nelo: text".
    QStringList bubbles() const;
    /// Types `text` and presses Return.
    void send(const QString& text) const;

    /// The delays of the chat. They are shorter than in the program.
    static constexpr std::chrono::milliseconds focusDelay{20};
    static constexpr std::chrono::milliseconds persistDelay{10};

private:
    std::unique_ptr<NeloWindow> m_window;
};

/// Runs `work`, answers the dialogs that it opens with `answers`, and returns what they showed when the last of them is
/// closed. The list is empty when fewer dialogs came.
std::vector<DialogRobot::Shown> answerDialogs(const std::function<void()>& work,
                                              const std::vector<DialogRobot::Answer>& answers);
/// Does the same with one dialog. Escape closes it when there is no `answer`.
DialogRobot::Shown answerDialog(const std::function<void()>& work,
                                const DialogRobot::Answer& answer = DialogRobot::press(Qt::Key_Escape));
