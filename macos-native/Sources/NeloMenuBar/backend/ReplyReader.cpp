#include "backend/ReplyReader.h"

#include "backend/BackendReply.h"

#include <simdjson.h>

#include <algorithm>
#include <optional>
#include <string_view>

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

constexpr std::size_t minCapacity = 4096; // of the parser, in bytes of text

/// The values of a reply. When a key occurs twice, the last one counts, as in Python.
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
    return textOf(Json::parse(simdjson::to_string(error), nullptr, false)).toStdString();
}

/// Returns the compact text of the result of a successful reply, where it can be taken from the reply as it stands:
/// when the reply is written as the helper's script writes it, without white space. White space inside of a string
/// prevents it, too: that is simpler than to find the strings, and printing the values again only takes longer.
std::optional<std::string_view> resultIn(std::string_view text, const object& members)
{
    constexpr std::string_view opening = R"({"ok":true,"result":)";
    if (members.size() != 2 || !text.starts_with(opening) || !text.ends_with('}'))
        return std::nullopt;
    text.remove_prefix(opening.size());
    text.remove_suffix(1);
    for (const char whiteSpace : {' ', '\t', '\r'}) {
        if (text.find(whiteSpace) != std::string_view::npos)
            return std::nullopt;
    }
    return text;
}

ReplyOutcome invalid()
{
    return {errorText("invalid backend helper response")};
}

/// Interprets a text that the parser refused. Bytes that are not UTF-8 are found here: the parser may report another
/// error before them.
ReplyOutcome unparsable(std::string_view text, simdjson::error_code failure)
{
    if (!simdjson::validate_utf8(text))
        return invalid();
    return {errorText(simdjson::error_message(failure)), ReplyOutcome::Helper::Drop};
}

ReplyOutcome interpretText(simdjson::dom::parser& parser, std::string_view text)
{
    if (parser.capacity() < text.size()) {
        if (const auto failure = parser.allocate(std::max(text.size(), minCapacity), maxJsonDepth))
            return unparsable(text, failure);
    }
    element root;
    if (const auto failure = parser.parse(text.data(), text.size()).get(root))
        return unparsable(text, failure);
    object members;
    if (root.get(members) != simdjson::SUCCESS)
        return invalid();

    if (const std::optional<std::string_view> result = resultIn(text, members))
        return {std::string(*result)};
    const Reply reply = replyIn(members);
    if (isTrue(reply.ok))
        return {reply.result ? simdjson::to_string(*reply.result) : "{}"};
    return {errorText(reply.error ? descriptionOf(*reply.error) : "unknown")};
}

} // namespace

struct ReplyReader::Parser
{
    static constexpr std::size_t maxKeptBytes = 16'000'000; // of text: the buffers of a longer reply are not kept

    simdjson::dom::parser dom;
};

ReplyReader::ReplyReader() = default;

ReplyReader::~ReplyReader() = default;

ReplyOutcome ReplyReader::interpret(std::string_view line)
{
    if (!m_parser)
        m_parser = std::make_unique<Parser>();
    ReplyOutcome outcome = interpretText(m_parser->dom, line);
    if (line.size() > Parser::maxKeptBytes)
        m_parser.reset();
    return outcome;
}
