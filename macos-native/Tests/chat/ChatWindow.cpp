#include "chat/ChatWindow.h"

#include "base/ApiKeyStore.h"
#include "base/Provider.h"
#include "chat/ChatViewController.h"
#include "chat/transcript/TranscriptView.h"
#include "shell/primitives/NeloWindow.h"

#include <QApplication>
#include <QSettings>
#include <QTest>

using namespace Qt::StringLiterals;

ChatWindow::ChatWindow()
{
    QCoreApplication::setOrganizationName(u"Nelo"_s);
    QCoreApplication::setApplicationName(u"TestChat"_s);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path(u".config"_s));
}

ChatWindow::~ChatWindow()
{
    close();
}

void ChatWindow::open()
{
    m_window = std::make_unique<NeloWindow>(u"Nelo"_s, QSize(980, 740));
    m_window->setContentViewController(new ChatViewController(nullptr, focusDelay, persistDelay));
    m_window->makeKeyAndOrderFront();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    QTRY_VERIFY(inputField()->hasFocus());
}

void ChatWindow::openWithKeys()
{
    for (const QString& provider : Provider::all())
        QVERIFY(!ApiKeyStore().setKeys({{provider, u"sk-"_s + provider}}));
    open();
}

void ChatWindow::close()
{
    m_window.reset();
}

QWidget* ChatWindow::window() const
{
    return m_window.get();
}

TranscriptView* ChatWindow::transcript() const
{
    return find<TranscriptView>("transcriptScroll");
}

QStringList ChatWindow::bubbles() const
{
    QStringList bubbles;
    for (int index = 0; index < transcript()->count(); ++index) {
        const Bubble& bubble = transcript()->bubble(index);
        bubbles.append(nameOf(bubble.speaker()) + u": "_s + bubble.text());
    }
    return bubbles;
}

void ChatWindow::send(const QString& text) const
{
    inputField()->setText(text);
    QTest::keyClick(inputField(), Qt::Key_Return);
}

std::vector<DialogRobot::Shown> answerDialogs(const std::function<void()>& work,
                                              const std::vector<DialogRobot::Answer>& answers)
{
    const DialogRobot robot(answers);
    work();
    const auto isOver = [&] { return robot.shown().size() == answers.size() && !QApplication::activeModalWidget(); };
    return QTest::qWaitFor(isOver, 20'000) ? robot.shown() : std::vector<DialogRobot::Shown>();
}

DialogRobot::Shown answerDialog(const std::function<void()>& work, const DialogRobot::Answer& answer)
{
    const std::vector<DialogRobot::Shown> shown = answerDialogs(work, {answer});
    return shown.empty() ? DialogRobot::Shown{u"no dialog"_s, {}, {}, {}} : shown.front();
}
