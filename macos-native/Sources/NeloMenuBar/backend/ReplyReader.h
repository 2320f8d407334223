#pragma once

#include <memory>
#include <string>
#include <string_view>

/// The result of reading one reply line of the helper.
struct ReplyOutcome
{
    enum class Helper { Keep, Drop };

    /// The text for the caller: the result as compact JSON text, or a line that begins with "ERROR: ".
    std::string text;
    /// Whether the helper can be used for the next call. A helper whose line cannot be parsed is dropped.
    Helper helper = Helper::Keep;
};

/// Reads reply lines. One thread at a time.
class ReplyReader final
{
public:
    ReplyReader();
    ReplyReader(const ReplyReader&) = delete;
    ReplyReader& operator=(const ReplyReader&) = delete;
    ~ReplyReader();

    /// Reads one line, without its line feed. The result keeps its key order, 64-bit integers and the difference
    /// between 1 and 1.0; NaN, bad escapes and nesting beyond 512 are errors of the parser. Never throws because
    /// of what the helper sent.
    ReplyOutcome interpret(std::string_view line);

private:
    struct Parser; // kept for its buffers: allocating them takes longer than parsing a short line
    std::unique_ptr<Parser> m_parser;
};
