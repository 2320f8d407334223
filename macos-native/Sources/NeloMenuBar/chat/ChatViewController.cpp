#include "chat/ChatViewController.h"

#include "base/Provider.h"
#include "chat/ApiKeyDialog.h"
#include "chat/MessageField.h"
#include "chat/core/ChatLog.h"
#include "chat/core/ChatReport.h"
#include "chat/transcript/TranscriptView.h"
#include "shell/primitives/NeloWindow.h"
#include "ui/Alerts.h"
#include "ui/Buttons.h"
#include "ui/Colors.h"
#include "ui/Labels.h"
#include "ui/PopUpButton.h"
#include "ui/TextScale.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace {

QWidget* makeHeader(QWidget* card)
{
    QLabel* header = makeSupportLine(14, card);
    header->setObjectName(QStringLiteral("header"));
    return header;
}

/// Returns a row with `widget`, and `margin` left and right of it.
QHBoxLayout* inset(QWidget* widget, int margin)
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(margin, 0, margin, 0);
    row->addWidget(widget);
    return row;
}

/// Returns the same, but the margins shrink where there is not enough room.
QHBoxLayout* insetAtMost(QWidget* widget, int margin)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(0);
    row->addSpacerItem(new QSpacerItem(margin, 0, QSizePolicy::Maximum));
    row->addWidget(widget);
    row->addSpacerItem(new QSpacerItem(margin, 0, QSizePolicy::Maximum));
    return row;
}

/// A box with round corners in its palette's window color. An invalid `border` draws none.
class RoundedBox final : public QWidget
{
public:
    RoundedBox(int radius, const QColor& border, QWidget* parent) : QWidget(parent), m_radius(radius), m_border(border)
    {}

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        const double inset = m_border.isValid() ? 0.5 : 0; // a line lies half on either side
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(m_border.isValid() ? QPen(m_border) : QPen(Qt::NoPen));
        painter.setBrush(palette().window());
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), m_radius - inset,
                                m_radius - inset);
    }

private:
    int m_radius;
    QColor m_border;
};

QWidget* makeRoundedBox(double whiteness, int radius, const QColor& border, QWidget* parent)
{
    auto* const box = new RoundedBox(radius, border, parent);
    box->setPalette(Colors::lightAppearance(Colors::white(whiteness)));
    return box;
}

} // namespace

ChatViewController::ChatViewController(QWidget* parent, std::chrono::milliseconds focusDelay,
                                       std::chrono::milliseconds persistDelay)
    : ViewController(parent), m_focusDelay(focusDelay), m_conversation(persistDelay)
{}

void ChatViewController::loadView()
{
    setPalette(Colors::lightAppearance(Colors::white(0.92)));
    QWidget* card = makeRoundedBox(0.97, 28, Colors::white(0.88), this);
    auto* frame = new QVBoxLayout(this);
    frame->setContentsMargins(18, 18, 18, 18);
    frame->addWidget(card);

    auto* column = new QVBoxLayout(card);
    column->setContentsMargins(0, 14, 0, 18);
    column->setSpacing(0);
    column->addLayout(inset(makeHeader(card), 24));
    column->addSpacing(14);
    column->addLayout(inset(makeTranscript(card), 24), 1);
    column->addSpacing(8);
    column->addLayout(inset(makeStatusLine(card), 24));
    column->addSpacing(8);
    column->addLayout(insetAtMost(makeComposer(card), 120));
    // After a click on a bubble the user can type the next message at once.
    connect(m_transcriptScroll, &TranscriptView::pressed, m_inputField, qOverload<>(&QWidget::setFocus));
}

QWidget* ChatViewController::makeTranscript(QWidget* card)
{
    m_transcriptScroll = new TranscriptView(card);
    m_transcriptScroll->setObjectName(QStringLiteral("transcriptScroll"));
    return m_transcriptScroll;
}

QWidget* ChatViewController::makeStatusLine(QWidget* card)
{
    m_debugLabel = new StatusLine(QStringLiteral("debugLabel"), {}, card);
    m_debugLabel->setFont(fontOfSize(font(), 11));
    return m_debugLabel;
}

QWidget* ChatViewController::makeComposer(QWidget* card)
{
    QWidget* composer = makeRoundedBox(0.91, 22, QColor(), card);
    composer->setObjectName(QStringLiteral("composer"));
    composer->setFixedHeight(scaledToFont(88));
    makeControls(composer);

    auto* row = new QHBoxLayout(composer);
    row->setContentsMargins(18, 0, 16, 0);
    row->setSpacing(0);
    row->addWidget(m_inputField, 1);
    row->addSpacing(12);
    row->addWidget(m_plusButton);
    row->addSpacing(10);
    row->addWidget(m_modelPopup);
    row->addSpacing(10);
    row->addWidget(m_sendButton);
    return composer;
}

void ChatViewController::makeControls(QWidget* composer)
{
    m_inputField = new MessageField(composer);
    m_inputField->setObjectName(QStringLiteral("inputField"));
    m_inputField->setFont(fontOfSize(font(), 14));
    m_inputField->setPlaceholderText(QStringLiteral("Send a message"));
    m_inputField->setAccessibleName(m_inputField->placeholderText());
    m_inputField->setFixedHeight(scaledToFont(28));
    m_inputField->setMinimumWidth(scaledToFont(220));
    connect(m_inputField, &QLineEdit::returnPressed, this, &ChatViewController::sendMessage);

    m_plusButton = makeButton(QStringLiteral("+"), composer);
    m_plusButton->setObjectName(QStringLiteral("plusButton"));
    m_plusButton->setFixedWidth(scaledToFont(28));
    connect(m_plusButton, &QPushButton::clicked, this, &ChatViewController::handlePlus);

    m_modelPopup = new PopUpButton(composer);
    m_modelPopup->setObjectName(QStringLiteral("modelPopup"));
    m_modelPopup->setAccessibleName(QStringLiteral("Model"));
    m_modelPopup->addItems({Provider::defaultModel, QStringLiteral("gpt-4.1-mini"), QStringLiteral("deepseek-chat"),
                            QStringLiteral("moonshot-v1-8k")});
    m_modelPopup->setFixedWidth(scaledToFont(150));

    m_sendButton = makeButton(QStringLiteral("Send"), composer);
    m_sendButton->setObjectName(QStringLiteral("sendButton"));
    m_sendButton->setFixedWidth(scaledToFont(64));
    connect(m_sendButton, &QPushButton::clicked, this, &ChatViewController::sendMessage);

    for (QWidget* control : std::initializer_list<QWidget*>{m_plusButton, m_modelPopup, m_sendButton})
        control->setFocusPolicy(Qt::TabFocus); // after a click the input field keeps the keyboard and a composition
}

void ChatViewController::viewDidLoad()
{
    ViewController::viewDidLoad();
    m_conversation.load();
    m_transcriptScroll->clear();
    const QList<NeloChatMessage> messages = m_conversation.messages();
    for (const NeloChatMessage& message : messages)
        appendMessageView(message);
}

void ChatViewController::viewDidAppear()
{
    ViewController::viewDidAppear();
    QTimer::singleShot(m_focusDelay, Qt::PreciseTimer, this, [this] {
        auto* keyWindow = qobject_cast<NeloWindow*>(window());
        if (!keyWindow || !isVisible())
            return; // the window was closed meanwhile
        keyWindow->makeKeyAndOrderFront();
        m_inputField->setFocus();
    });
}

/// Copies the text that is selected in the conversation. The event comes here when the control with the keyboard has
/// nothing to copy.
void ChatViewController::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy) && !m_transcriptScroll->selectedText().isEmpty())
        m_transcriptScroll->copy();
    else
        ViewController::keyPressEvent(event);
}

void ChatViewController::sendMessage()
{
    report(sendTriggeredReport());
    m_inputField->commitComposition();
    const QString text = m_inputField->text().trimmed();
    if (text.isEmpty()) {
        report(emptyInputReport());
        return;
    }
    if (isLocalGreeting(text)) {
        answerGreeting(text);
        return;
    }
    const QString model = chosenModel();
    const QString apiKey = m_apiKeys.key(Provider::ofModel(model)).trimmed();
    if (apiKey.isEmpty())
        askForMissingKey(model);
    else
        startRequest(model, apiKey, text);
}

void ChatViewController::answerGreeting(const QString& text)
{
    appendMessage(userRole, text);
    m_inputField->clear();
    appendMessage(assistantRole, neloWelcomeMessage);
    m_conversation.schedulePersist();
    report(localGreetingReport());
    m_inputField->setFocus();
}

void ChatViewController::askForMissingKey(const QString& model)
{
    const ChatReport missing = missingKeyReport(model);
    report(missing);
    tellFailure(QStringLiteral("API Key Required"), missing);
}

void ChatViewController::startRequest(const QString& model, const QString& apiKey, const QString& text)
{
    appendMessage(userRole, text);
    m_inputField->clear();
    m_conversation.schedulePersist();
    report(requestStartedReport(model, text));

    if (!m_service)
        m_service = loadChatService();
    const QPointer<ChatViewController> self(this);
    m_service->callChatAPI(Provider::ofModel(model), model, m_conversation.messages(), apiKey,
                           [self](const ChatOutcome& outcome) {
                               if (self)
                                   self->finishRequest(outcome);
                           });
}

void ChatViewController::finishRequest(const ChatOutcome& outcome)
{
    const ChatReport ended = requestEndedReport(outcome);
    if (ended.reply)
        appendMessage(assistantRole, *ended.reply);
    m_conversation.schedulePersist();
    report(ended);
    tellFailure(QStringLiteral("Request Failed"), ended);
}

void ChatViewController::handlePlus()
{
    const QString model = chosenModel();
    const QString provider = Provider::ofModel(model);
    const QPointer<ChatViewController> self(this);
    const std::optional<QString> key = askForApiKey(this, model, m_apiKeys.key(provider));
    if (!self || !key)
        return; // the user cancelled, or the window was closed while the dialog was open
    if (m_apiKeys.setKeys({{provider, *key}}))
        showAlert(this, QStringLiteral("Save Failed"), QStringLiteral("The API key could not be stored."));
}

QString ChatViewController::chosenModel() const
{
    return m_modelPopup->titleOfSelectedItem(Provider::defaultModel);
}

void ChatViewController::appendMessage(const QString& role, const QString& content)
{
    appendMessageView(m_conversation.appendMessage(role, content));
}

void ChatViewController::appendMessageView(const NeloChatMessage& message)
{
    m_transcriptScroll->append(message.role == userRole ? Speaker::User : Speaker::Nelo, message.content);
}

/// Shows the status of a step, and logs it.
void ChatViewController::report(const ChatReport& report)
{
    m_debugLabel->showAndAnnounce(report.status);
    neloChatLog(report.logEntry);
}

/// Tells the failure of a step, if there is one, in an alert. The input field has the keyboard afterwards.
void ChatViewController::tellFailure(const QString& title, const ChatReport& report)
{
    const QPointer<ChatViewController> self(this);
    if (report.failure)
        showAlert(this, title, *report.failure);
    if (self)
        m_inputField->setFocus();
}
