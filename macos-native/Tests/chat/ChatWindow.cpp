#include "chat/ChatWindow.h"

#include "base/ApiKeyStore.h"
#include "chat/ChatViewController.h"
#include "chat/core/ChatLog.h"
#include "chat/transcript/TranscriptView.h"
#include "shell/primitives/NeloWindow.h"
#include "support/Files.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array endpointVariables{"NELO_OPENAI_BASE_URL", "NELO_DEEPSEEK_BASE_URL", "NELO_KIMI_BASE_URL"};

SeenDialog read(const QDialog& dialog)
{
    SeenDialog seen;
    seen.title = dialog.findChild<QLabel*>(u"messageText"_s)->text();
    seen.text = dialog.findChild<QPlainTextEdit*>(u"informativeText"_s)->toPlainText();
    QList<QPushButton*> buttons = dialog.findChildren<QPushButton*>();
    std::sort(buttons.begin(), buttons.end(), [](const auto* a, const auto* b) { return a->x() > b->x(); });
    for (const QPushButton* button : std::as_const(buttons))
        seen.buttons.append(button->text());
    if (const auto* field = dialog.findChild<QLineEdit*>()) {
        seen.fieldPlaceholder = field->placeholderText();
        seen.isMasked = field->echoMode() == QLineEdit::Password;
        seen.fieldSize = field->size();
    }
    return seen;
}

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
    m_window->setContentViewController(new ChatViewController);
    m_window->makeKeyAndOrderFront();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    QTRY_VERIFY(inputField()->hasFocus());
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

void ChatWindow::storeKey(const QString& provider, const QString& key) const
{
    QCOMPARE(ApiKeyStore().setKeys({{provider, key}}), std::nullopt);
}

QString ChatWindow::storedKey(const QString& provider) const
{
    return ApiKeyStore().key(provider);
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
    const QJsonObject body = QJsonDocument::fromJson(server.requests().at(index).body).object();
    const QJsonArray messages = body[u"messages"_s].toArray();
    for (const QJsonValue& message : messages)
        sent.append(message[u"role"_s].toString() + u": "_s + message[u"content"_s].toString());
    return sent;
}

SeenDialog answerDialog(const std::function<void()>& work, const DialogAction& act)
{
    return answerDialogs(work, {act}).value(0, SeenDialog{u"no dialog"_s, {}, {}, {}, false, {}});
}

QList<SeenDialog> answerDialogs(const std::function<void()>& work, const QList<DialogAction>& acts)
{
    QList<SeenDialog> seen;
    QPointer<QDialog> last;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &watch, [&] {
        const QPointer<QDialog> dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || dialog == last || !dialog->isActiveWindow() || seen.size() == acts.size())
            return;
        last = dialog;
        seen.append(read(*dialog));
        acts.at(seen.size() - 1)(*dialog);
        if (dialog && dialog->isVisible())
            dialog->reject(); // a failed check must not leave it open
    });
    watch.start(0);
    work();
    const auto isOver = [&seen, &acts] { return seen.size() == acts.size() && !QApplication::activeModalWidget(); };
    return QTest::qWaitFor(isOver, 20'000) ? seen : QList<SeenDialog>();
}
