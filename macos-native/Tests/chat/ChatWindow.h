#pragma once

#include "base/ApiKeyStore.h"
#include "base/Provider.h"
#include "chat/ChatServer.h"
#include "chat/ChatViewController.h"
#include "chat/transcript/TranscriptView.h"
#include "shell/primitives/NeloWindow.h"
#include "support/DialogRobot.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTest>

#include <chrono>
#include <memory>

/// The chat in a window of its own, with user defaults of its own.
class ChatWindow final : public ChatServer
{
public:
    ChatWindow()
    {
        QCoreApplication::setOrganizationName(QStringLiteral("Nelo"));
        QCoreApplication::setApplicationName(QStringLiteral("TestChat"));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path(QStringLiteral(".config")));
    }

    /// Makes and shows the window. It loads what is in the home folder now.
    void open()
    {
        m_window = std::make_unique<NeloWindow>(QStringLiteral("Nelo"), QSize(980, 740));
        m_window->setContentViewController(new ChatViewController(nullptr, focusDelay, persistDelay));
        m_window->makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        QTRY_VERIFY(inputField()->hasFocus());
    }

    /// Stores the key "sk-" and its name for every provider, and opens the window.
    void openWithKeys()
    {
        for (const QString& provider : Provider::all())
            QVERIFY(!ApiKeyStore().setKeys({{provider, QStringLiteral("sk-") + provider}}));
        open();
    }

    /// Deletes the window.
    void close() { m_window.reset(); }

    /// Returns the control with this object name.
    template <class Control> Control* find(const char* name) const
    {
        return window()->findChild<Control*>(QLatin1String(name));
    }
    NeloWindow* window() const { return m_window.get(); }
    TranscriptView* transcript() const { return find<TranscriptView>("transcriptScroll"); }
    QLineEdit* inputField() const { return find<QLineEdit>("inputField"); }
    QPushButton* sendButton() const { return find<QPushButton>("sendButton"); }
    QPushButton* plusButton() const { return find<QPushButton>("plusButton"); }
    QComboBox* modelPopup() const { return find<QComboBox>("modelPopup"); }

    /// Returns the text of the status line.
    QString status() const { return find<QLabel>("debugLabel")->text(); }

    /// Returns the bubbles from the top, each as "Me: text" or "Nelo: text".
    QStringList bubbles() const
    {
        QStringList bubbles;
        for (int index = 0; index < transcript()->count(); ++index) {
            const Bubble& bubble = transcript()->bubble(index);
            bubbles.append(nameOf(bubble.speaker()) + QStringLiteral(": ") + bubble.text());
        }
        return bubbles;
    }

    /// Types `text` and presses Return.
    void send(const QString& text) const
    {
        inputField()->setText(text);
        QTest::keyClick(inputField(), Qt::Key_Return);
    }

    /// The delays of the chat. They are shorter than in the program.
    static constexpr std::chrono::milliseconds focusDelay{20};
    static constexpr std::chrono::milliseconds persistDelay{10};

private:
    std::unique_ptr<NeloWindow> m_window;
};

/// Runs `work`, answers the dialogs that it opens with `answers`, and returns what they showed when the last of them is
/// closed. The list is empty when fewer dialogs came.
inline std::vector<DialogRobot::Shown> answerDialogs(const std::function<void()>& work,
                                                     const std::vector<DialogRobot::Answer>& answers)
{
    const DialogRobot robot(answers);
    work();
    const auto isOver = [&] { return robot.shown().size() == answers.size() && !QApplication::activeModalWidget(); };
    return QTest::qWaitFor(isOver, 20'000) ? robot.shown() : std::vector<DialogRobot::Shown>();
}

/// Does the same with one dialog. Escape closes it when there is no `answer`.
inline DialogRobot::Shown answerDialog(const std::function<void()>& work,
                                       const DialogRobot::Answer& answer = DialogRobot::press(Qt::Key_Escape))
{
    const std::vector<DialogRobot::Shown> shown = answerDialogs(work, {answer});
    return shown.empty() ? DialogRobot::Shown{QStringLiteral("no dialog"), {}, {}, {}} : shown.front();
}
