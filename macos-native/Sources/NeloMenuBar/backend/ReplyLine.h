#pragma once

#include <memory>
#include <string>

/// What one reply line of the helper means.
struct ReplyMeaning
{
    enum class Helper { Keep, Drop };

    /// For the caller: the result as compact JSON text, or a line that begins "ERROR: ".
    std::string text;
    /// Whether the helper is still worth talking to: one whose line does not parse is not.
    Helper helper = Helper::Keep;
};

/// The failure text of the bridge: "ERROR: " and the reason.
std::string errorText(const std::string& reason);

/// Reads reply lines. One thread at a time.
class ReplyReader final
{
public:
    ReplyReader();
    ReplyReader(const ReplyReader&) = delete;
    ReplyReader& operator=(const ReplyReader&) = delete;
    ~ReplyReader();

    /// Reads one line, without its line feed. The result keeps its key order, 64-bit integers and the difference
    /// between 1 and 1.0; NaN, bad escapes and nesting beyond 512 are errors of the parser. Never throws for what a
    /// peer sent.
    ReplyMeaning interpret(const std::string& line);

private:
    struct Parser; // keeps its buffers from line to line, which is most of the cost of a short one
    std::unique_ptr<Parser> m_parser;
};
