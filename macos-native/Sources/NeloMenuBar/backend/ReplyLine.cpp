#include "backend/ReplyLine.h"

#include "base/Json.h"

#include <simdjson.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

constexpr std::size_t smallestCapacity = 4096; // of the parser, in bytes of text

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
    return textOf(Json::parse(simdjson::to_string(error), nullptr, false)).toStdString();
}

/// What takes white space out of JSON. simdjson's own choice on processors with AVX-512 compresses straight into memory
/// (VPCOMPRESSB), which is microcode on AMD's Zen 4: there it takes six times as long as what 256 bits do.
const simdjson::implementation& minifier()
{
    static const simdjson::implementation& chosen = []() -> const simdjson::implementation& {
        const auto* narrower = simdjson::get_available_implementations()["haswell"];
        return narrower && narrower->supported_by_runtime_system() ? *narrower : *simdjson::get_active_implementation();
    }();
    return chosen;
}

/// The text without the white space outside of its strings; none when a string has no end.
std::optional<std::string> compactText(const std::string& text)
{
    std::string compact(text.size(), '\0');
    std::size_t length = 0;
    const auto* source = reinterpret_cast<const std::uint8_t*>(text.data());
    auto* destination = reinterpret_cast<std::uint8_t*>(compact.data());
    if (minifier().minify(source, text.size(), destination, length) != simdjson::SUCCESS)
        return std::nullopt;
    compact.resize(length);
    return compact;
}

/// The compact text of a successful reply's result. Of a reply as the helper's script writes it, and it writes no
/// other, the result is what stands between the opening and the last brace: to take out the white space is all there is
/// to do, where printing the tree would be most of the cost of a long reply.
std::string resultText(const std::string& text, const object& members, const element& result)
{
    constexpr std::string_view opening = R"({"ok":true,"result":)";
    std::optional<std::string> compact = members.size() == 2 ? compactText(text) : std::nullopt;
    if (!compact || !compact->starts_with(opening))
        return simdjson::to_string(result);
    compact->pop_back(); // the reply's closing brace
    compact->erase(0, opening.size());
    return std::move(*compact);
}

ReplyMeaning invalid()
{
    return {errorText("invalid backend helper response")};
}

/// What a text that the parser refused means; it reads the bytes of UTF-8 too, but may trip over another fault first.
ReplyMeaning unparsable(const std::string& text, simdjson::error_code failure)
{
    if (!simdjson::validate_utf8(text))
        return invalid();
    return {errorText(simdjson::error_message(failure)), ReplyMeaning::Helper::Drop};
}

ReplyMeaning interpretText(simdjson::dom::parser& parser, const std::string& text)
{
    if (parser.capacity() < text.size()) {
        if (const auto failure = parser.allocate(std::max(text.size(), smallestCapacity), maxJsonDepth))
            return unparsable(text, failure);
    }
    element root;
    if (const auto failure = parser.parse(text).get(root))
        return unparsable(text, failure);
    object members;
    if (root.get(members) != simdjson::SUCCESS)
        return invalid();

    const Reply reply = replyIn(members);
    if (isTrue(reply.ok))
        return {reply.result ? resultText(text, members, *reply.result) : "{}"};
    return {errorText(reply.error ? descriptionOf(*reply.error) : "unknown")};
}

} // namespace

std::string errorText(const std::string& reason)
{
    return "ERROR: " + reason;
}

struct ReplyReader::Parser
{
    static constexpr std::size_t largestKept = 16'000'000; // bytes of text: the buffers of a longer reply are not kept

    simdjson::dom::parser dom;
};

ReplyReader::ReplyReader() = default;

ReplyReader::~ReplyReader() = default;

ReplyMeaning ReplyReader::interpret(const std::string& line)
{
    if (!m_parser)
        m_parser = std::make_unique<Parser>();
    ReplyMeaning meaning = interpretText(m_parser->dom, line);
    if (line.size() > Parser::largestKept)
        m_parser.reset();
    return meaning;
}
