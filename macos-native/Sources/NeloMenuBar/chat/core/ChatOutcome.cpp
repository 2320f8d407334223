#include "chat/core/ChatOutcome.h"

QString errorDescription(const ChatOutcome& outcome)
{
    if (const auto* refused = std::get_if<NeloChatError>(&outcome))
        return refused->errorDescription();
    if (const auto* failed = std::get_if<ChatTransportError>(&outcome))
        return failed->errorDescription();
    return {};
}
