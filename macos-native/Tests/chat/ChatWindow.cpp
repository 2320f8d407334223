#include "chat/ChatWindow.h"

#include "base/ApiKeyStore.h"
#include "base/Json.h"
#include "base/Provider.h"
#include "chat/ChatViewController.h"
#include "chat/core/ChatLog.h"
#include "chat/transcript/TranscriptView.h"
#include "shell/primitives/NeloWindow.h"
#include "support/Files.h"

#include <QApplication>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array endpointVariables{"NELO_OPENAI_BASE_URL", "NELO_DEEPSEEK_BASE_URL", "NELO_KIMI_BASE_URL"};

} // namespace

ChatWindow::ChatWindow()
{
    QCoreApplication::setOrganizationName(u"Nelo"_s);
    QCoreApplication::setApplicationName(u"TestChat"_s);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path(u".config"_s));
    for (const char* variable : endpointVariables)
        qputenv(variable, server.url().toUtf8());
}

ChatWindow::~ChatWindow()
{
    close();
    for (const char* variable : endpointVariables)
        qunsetenv(variable);
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

void ChatWindow::replyWith(const QString& reply)
{
    const Json body{{"choices", {{{"message", {{"content", reply}}}}}}};
    server.answerEach(HttpAnswer::message(200, QByteArray::fromStdString(body.dump())));
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

QStringList ChatWindow::logEntries() const
{
    static const QRegularExpression time(u"^\\[[^]]*\\] "_s, QRegularExpression::MultilineOption);
    QString log = QString::fromUtf8(Files::contentOf(neloChatLogURL()));
    return log.remove(time).split(u'\n', Qt::SkipEmptyParts);
}

QStringList ChatWindow::sentMessages(qsizetype index) const
{
    QStringList sent;
    const Json body = parseJson(server.requests().at(index).body.toStdString());
    for (const Json& message : body["messages"])
        sent.append(textOf(message, "role") + u": "_s + textOf(message, "content"));
    return sent;
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
