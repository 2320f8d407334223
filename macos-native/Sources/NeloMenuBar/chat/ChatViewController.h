#pragma once

#include "base/ApiKeyStore.h"
#include "chat/core/ChatOutcome.h"
#include "chat/core/ChatService.h"
#include "chat/core/Conversation.h"
#include "shell/primitives/ViewController.h"

#include <chrono>
#include <memory>

class MessageField;
class PopUpButton;
class QPushButton;
class StatusLine;
class TranscriptView;
struct ChatReport;

/// The content of the chat window: the conversation, and a composer that sends messages to a cloud model. The chat
/// answers a few greetings itself.
class ChatViewController final : public ViewController
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultFocusDelay{100};

    /// `focusDelay` is the time from the window's appearance until the input field gets the keyboard. `persistDelay` is
    /// the time from a change of the conversation until it is written.
    explicit ChatViewController(QWidget* parent = nullptr, std::chrono::milliseconds focusDelay = defaultFocusDelay,
                                std::chrono::milliseconds persistDelay = Conversation::defaultPersistDelay);

    /// Takes the text of the input field as the user's next message: answers a greeting, or sends the conversation to
    /// the provider of the chosen model. When this provider has no API key, shows an alert and keeps the text.
    void sendMessage();
    /// Asks for the API key of the chosen model's provider, and stores it.
    void handlePlus();

protected:
    void loadView() override;
    void viewDidLoad() override;
    void viewDidAppear() override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* makeTranscript(QWidget* card);
    QWidget* makeStatusLine(QWidget* card);
    QWidget* makeComposer(QWidget* card);
    void makeControls(QWidget* composer);

    void answerGreeting(const QString& text);
    void askForMissingKey(const QString& model);
    void startRequest(const QString& model, const QString& apiKey, const QString& text);
    void finishRequest(const ChatOutcome& outcome);

    QString chosenModel() const;
    void appendMessage(const QString& role, const QString& content);
    void appendMessageView(const NeloChatMessage& message);
    void report(const ChatReport& report);
    void tellFailure(const QString& title, const ChatReport& report);

    const std::chrono::milliseconds m_focusDelay;
    Conversation m_conversation;
    ApiKeyStore m_apiKeys;
    std::unique_ptr<ChatService> m_service; // made when the first message is sent

    TranscriptView* m_transcriptScroll = nullptr; // the controls are children of this
    StatusLine* m_debugLabel = nullptr;
    MessageField* m_inputField = nullptr;
    QPushButton* m_plusButton = nullptr;
    PopUpButton* m_modelPopup = nullptr;
    QPushButton* m_sendButton = nullptr;
};
