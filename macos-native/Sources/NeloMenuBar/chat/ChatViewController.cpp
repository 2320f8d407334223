#include "chat/ChatViewController.h"

#include "base/Provider.h"

#include "chat/ApiKeyDialog.h"
#include "chat/MessageField.h"
#include "chat/RoundedPanel.h"
#include "chat/core/ChatLog.h"
#include "chat/core/ChatTarget.h"
#include "chat/core/LocalGreeting.h"
#include "chat/transcript/TranscriptView.h"
#include "shell/primitives/NeloWindow.h"
#include "ui/Alerts.h"
#include "ui/Buttons.h"
#include "ui/Colors.h"
#include "ui/Labels.h"
#include "ui/PopUpButton.h"
#include "ui/TextScale.h"

#include <QKeyEvent>
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

/// `widget` with `margin` left and right of it.
QHBoxLayout* inset(QWidget* widget, int margin)
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(margin, 0, margin, 0);
    row->addWidget(widget);
    return row;
}

/// The same, with less of a margin where there is no room for both.
QHBoxLayout* insetAtMost(QWidget* widget, int margin)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(0);
    row->addSpacerItem(new QSpacerItem(margin, 0, QSizePolicy::Maximum));
    row->addWidget(widget);
    row->addSpacerItem(new QSpacerItem(margin, 0, QSizePolicy::Maximum));
    return row;
}

RoundedPanel* makePanel(double whiteness, int radius, const QColor& border, QWidget* parent)
{
    auto* panel = new RoundedPanel(radius, border, parent);
    panel->setPalette(Colors::lightAppearance(Colors::white(whiteness)));
    return panel;
}

} // namespace

ChatViewController::ChatViewController(QWidget* parent, std::chrono::milliseconds focusDelay,
                                       std::chrono::milliseconds persistDelay)
    : ViewController(parent), m_focusDelay(focusDelay), m_conversation(persistDelay)
{}

void ChatViewController::loadView()
{
    setPalette(Colors::lightAppearance(Colors::white(0.92)));
    setAutoFillBackground(true);
    QWidget* card = makePanel(0.97, 28, Colors::white(0.88), this);
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
    // Letters typed after a click on a bubble are a message.
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
    m_debugLabel = new Label(QString(), card);
    m_debugLabel->setObjectName(QStringLiteral("debugLabel"));
    m_debugLabel->setFont(fontOfSize(font(), 11));
    m_debugLabel->setEmphasis(Emphasis::Secondary);
    return m_debugLabel;
}

QWidget* ChatViewController::makeComposer(QWidget* card)
{
    QWidget* composer = makePanel(0.91, 22, QColor(), card);
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
    m_modelPopup->setAccessibleDescription(QStringLiteral("Model"));
    m_modelPopup->addItems({Provider::defaultModel, QStringLiteral("gpt-4.1-mini"), QStringLiteral("deepseek-chat"),
                            QStringLiteral("moonshot-v1-8k")});
    m_modelPopup->setFixedWidth(scaledToFont(150));

    m_sendButton = makeButton(QStringLiteral("Send"), composer);
    m_sendButton->setObjectName(QStringLiteral("sendButton"));
    m_sendButton->setFixedWidth(scaledToFont(64));
    connect(m_sendButton, &QPushButton::clicked, this, &ChatViewController::sendMessage);

    for (QWidget* control : std::initializer_list<QWidget*>{m_plusButton, m_modelPopup, m_sendButton})
        control->setFocusPolicy(Qt::TabFocus); // a click leaves the keyboard, and a composition, in the input field
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
            return; // closed again meanwhile
        keyWindow->makeKeyAndOrderFront();
        m_inputField->setFocus();
    });
}

/// Copies what is selected in the conversation; the control with the keyboard had nothing to copy.
void ChatViewController::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy) && !m_transcriptScroll->selectedText().isEmpty())
        m_transcriptScroll->copy();
    else
        ViewController::keyPressEvent(event);
}

void ChatViewController::sendMessage()
{
    report(QStringLiteral("send triggered"), QStringLiteral("send triggered"));
    m_inputField->commitComposition();
    const QString text = m_inputField->text().trimmed();
    if (text.isEmpty()) {
        report(QStringLiteral("empty input"), QStringLiteral("send aborted: empty input"));
        return;
    }
    if (isLocalGreeting(text)) {
        answerGreeting(text);
        return;
    }
    const ChatTarget target = chosenTarget();
    const QString apiKey = m_apiKeys.key(target.provider).trimmed();
    if (apiKey.isEmpty())
        askForMissingKey(target);
    else
        startRequest(target, apiKey, text);
}

void ChatViewController::answerGreeting(const QString& text)
{
    appendMessage(userRole, text);
    m_inputField->clear();
    appendMessage(assistantRole, neloWelcomeMessage);
    m_conversation.schedulePersist();
    report(QStringLiteral("local greeting"), QStringLiteral("local greeting handled"));
    m_inputField->setFocus();
}

void ChatViewController::askForMissingKey(const ChatTarget& target)
{
    report(QStringLiteral("missing api key"), target.missingKeyEntry());
    const QPointer<ChatViewController> self(this);
    showAlert(this, QStringLiteral("API Key Required"), target.missingKeyText());
    if (self)
        m_inputField->setFocus();
}

void ChatViewController::startRequest(const ChatTarget& target, const QString& apiKey, const QString& text)
{
    appendMessage(userRole, text);
    m_inputField->clear();
    m_conversation.schedulePersist();
    report(QStringLiteral("request started"), target.requestStartedEntry(text));

    if (!m_service)
        m_service = loadChatService();
    const QPointer<ChatViewController> self(this);
    m_service->callChatAPI(target.provider, target.model, m_conversation.messages(), apiKey,
                           [self](const ChatOutcome& outcome) {
                               if (self)
                                   self->finishRequest(outcome);
                           });
}

void ChatViewController::finishRequest(const ChatOutcome& outcome)
{
    const ChatReport result = reportOf(outcome);
    if (result.reply)
        appendMessage(assistantRole, *result.reply);
    m_conversation.schedulePersist();
    report(result.status, result.logEntry);
    const QPointer<ChatViewController> self(this);
    if (result.failure)
        showAlert(this, QStringLiteral("Request Failed"), *result.failure);
    if (self)
        m_inputField->setFocus();
}

void ChatViewController::handlePlus()
{
    const ChatTarget target = chosenTarget();
    const QPointer<ChatViewController> self(this);
    const std::optional<QString> key = askForApiKey(this, target, m_apiKeys.key(target.provider));
    if (!self || !key)
        return; // cancelled, or the window went away while the question was up
    if (m_apiKeys.setKeys({{target.provider, *key}}))
        showAlert(this, QStringLiteral("Save Failed"), QStringLiteral("The API key could not be stored."));
}

ChatTarget ChatViewController::chosenTarget() const
{
    const QString model = m_modelPopup->titleOfSelectedItem(Provider::defaultModel);
    return {Provider::ofModel(model), model};
}

void ChatViewController::appendMessage(const QString& role, const QString& content)
{
    appendMessageView(m_conversation.appendMessage(role, content));
}

void ChatViewController::appendMessageView(const NeloChatMessage& message)
{
    m_transcriptScroll->append(message.role == userRole ? Speaker::User : Speaker::Nelo, message.content);
}

/// Shows how far the last action has come, and logs it.
void ChatViewController::report(const QString& status, const QString& logEntry)
{
    m_debugLabel->setText(status);
    neloChatLog(logEntry);
}
