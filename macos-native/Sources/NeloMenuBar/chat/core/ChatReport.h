#pragma once

#include "chat/core/ChatOutcome.h"

#include <QString>

#include <optional>

/// What the chat shows and logs at one step of a send.
struct ChatReport
{
    QString status;                                // for the line under the conversation
    QString logEntry;                              // for the log
    std::optional<QString> reply = std::nullopt;   // for the conversation
    std::optional<QString> failure = std::nullopt; // for an alert

    bool operator==(const ChatReport&) const = default;
};

/// Returns the text that tells a failure. It is empty when `outcome` is a reply.
QString errorDescription(const ChatOutcome& outcome);

/// Returns the report of the first step: the user has pressed Return or "Send".
ChatReport sendTriggeredReport();

/// Returns the report when there is no text to send.
ChatReport emptyInputReport();

/// Returns the report when the message was a greeting, which the chat has answered itself.
ChatReport localGreetingReport();

/// Returns the report when no API key is stored for the provider of `model`.
ChatReport missingKeyReport(const QString& model);

/// Returns the report when a request to `model` with the message `text` begins.
ChatReport requestStartedReport(const QString& model, const QString& text);

/// Returns the report when a request has ended with `outcome`. It has either a reply or a failure.
ChatReport requestEndedReport(const ChatOutcome& outcome);
