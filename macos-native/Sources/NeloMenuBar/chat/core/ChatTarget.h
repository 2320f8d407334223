#pragma once

#include <QString>

/// The model that a message is for, and the provider that serves it. With it go the texts that name them.
struct ChatTarget
{
    QString provider;
    QString model;

    /// Returns the log's entry when no API key is stored for the provider.
    QString missingKeyEntry() const;
    /// Returns what the alert says then.
    QString missingKeyText() const;
    /// Returns the log's entry when a request with the message `text` begins.
    QString requestStartedEntry(const QString& text) const;
    /// Returns the text of the API-key dialog.
    QString apiKeyDialogText() const;
    /// Returns the placeholder of its field.
    QString apiKeyPlaceholder() const;
};
