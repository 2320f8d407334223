#include "backend/ReplyLine.h"

#include "backend/BackendReply.h"

#include <simdjson.h>

#include <optional>
#include <string_view>

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

/// The values that a reply may carry. Where a key stands twice, the last counts, as it does in Python.
struct Reply
{
    std::optional<element> ok;
    std::optional<element> result;
    std::optional<element> error;
};

Reply replyIn(const object& members)
{
    Reply reply;
    for (const auto& [key, value] : members) {
        if (key == "ok")
            reply.ok = value;
        else if (key == "result")
            reply.result = value;
        else if (key == "error")
            reply.error = value;
    }
    return reply;
}

bool isTrue(const std::optional<element>& value)
{
    return value && value->is_bool() && bool(*value);
}

std::string descriptionOf(const element& error)
{
    return textOf(Json::parse(simdjson::minify(error), nullptr, false)).toStdString();
}

} // namespace

std::string errorText(const std::string& reason)
{
    return "ERROR: " + reason;
}

ReplyMeaning interpretReplyLine(const std::string& line)
{
    const ReplyMeaning invalid{errorText("invalid backend helper response")};
    if (!simdjson::validate_utf8(line))
        return invalid;

    simdjson::dom::parser parser;
    if (const auto failure = parser.allocate(line.size(), BackendReply::maximumDepth))
        return {errorText(simdjson::error_message(failure)), ReplyMeaning::Helper::Drop};
    element root;
    if (const auto failure = parser.parse(line).get(root))
        return {errorText(simdjson::error_message(failure)), ReplyMeaning::Helper::Drop};
    object members;
    if (root.get(members) != simdjson::SUCCESS)
        return invalid;

    const Reply reply = replyIn(members);
    if (isTrue(reply.ok))
        return {reply.result ? simdjson::minify(*reply.result) : "{}"};
    return {errorText(reply.error ? descriptionOf(*reply.error) : "unknown")};
}
