#pragma once

#include <QString>

#include <variant>

/// The provider's reply.
struct ChatText
{
    QString text;

    bool operator==(const ChatText&) const = default;
};

/// A request that the provider or the client refused.
struct NeloChatError
{
    QString message;

    const QString& errorDescription() const { return message; }
    bool operator==(const NeloChatError&) const = default;
};

/// A transfer that failed, in the network library's words.
struct ChatTransportError
{
    QString text;

    const QString& errorDescription() const { return text; }
    bool operator==(const ChatTransportError&) const = default;
};

/// How a call to a provider ended.
using ChatOutcome = std::variant<ChatText, NeloChatError, ChatTransportError>;
