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

bool hasWhiteSpace(std::string_view text)
{
    constexpr std::string_view whiteSpace = " \t\r";
    return std::any_of(whiteSpace.begin(), whiteSpace.end(),
                       [text](char c) { return text.find(c) != std::string_view::npos; });
}

/// Returns the compact text of the result of a successful reply, taken from the reply as it stands. This works when the
/// reply begins and ends as the helper's script writes it. To print the values again takes longer.
std::optional<std::string> resultIn(std::string_view text, const object& members)
{
    constexpr std::string_view opening = R"({"ok":true,"result":)";
    if (members.size() != 2 || !text.starts_with(opening) || !text.ends_with('}'))
        return std::nullopt;
    text.remove_prefix(opening.size());
    text.remove_suffix(1);
    if (!hasWhiteSpace(text)) // to look for it takes a quarter of the time that removing it takes
        return std::string(text);
    std::string result(text.size(), '\0');
    std::size_t length = 0;
    if (simdjson::minify(text.data(), text.size(), result.data(), length) != simdjson::SUCCESS)
        return std::nullopt;
    result.resize(length);
    return result;
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

    if (std::optional<std::string> result = resultIn(text, members))
        return {std::move(*result)};
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
