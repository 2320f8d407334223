#pragma once

#include "chat/core/ChatOutcome.h"

#include <QString>

#include <optional>

/// What a send is about.
struct ChatTarget
{
    QString provider;
    QString model;
};

/// The log's entry when there is no key for the provider, and what the user is told.
QString missingKeyEntry(const ChatTarget& target);
QString missingKeyText(const QString& provider);

/// The log's entry when `text` is on its way.
QString requestStartedEntry(const ChatTarget& target, const QString& text);

/// The API-key dialog's text, and the placeholder of its field.
QString apiKeyDialogText(const ChatTarget& target);
QString apiKeyPlaceholder(const QString& provider);

/// What a finished request shows and leaves behind: either a reply for the conversation or a failure for an alert.
struct ChatConclusion
{
    QString status;
    QString logEntry;
    std::optional<QString> reply;
    std::optional<QString> failure;

    bool operator==(const ChatConclusion&) const = default;
};

ChatConclusion conclusionOf(const ChatOutcome& outcome);
