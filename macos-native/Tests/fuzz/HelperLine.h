#pragma once

#include "backend/BackendReply.h"
#include "backend/ReplyReader.h"

/// Returns the reply to a call that the helper answers with `line`.
inline BackendReply replyToLine(const std::string& line)
{
    return BackendReply(ReplyReader().interpret(line).text);
}
