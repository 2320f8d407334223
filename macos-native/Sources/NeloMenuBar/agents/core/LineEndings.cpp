#include "agents/core/LineEndings.h"

#include <algorithm>
#include <array>
#include <optional>

namespace {

constexpr std::array<QStringView, 6> characters{u"\n", u"\r\n", u"\r", u"\u2029", u"\ufdd0", u"\ufdd1"};

/// The line ending that begins with `first`, which `next` follows.
std::optional<LineEnding> endingAt(char16_t first, char16_t next)
{
    switch (first) {
    case u'\n':
        return LineEnding::LineFeed;
    case u'\r':
        return next == u'\n' ? LineEnding::CarriageReturnLineFeed : LineEnding::CarriageReturn;
    case u'\u2029':
        return LineEnding::ParagraphSeparator;
    case 0xfdd0:
        return LineEnding::BeginningOfFrame;
    case 0xfdd1:
        return LineEnding::EndOfFrame;
    default:
        return std::nullopt;
    }
}

} // namespace

QStringView charactersOf(LineEnding ending)
{
    return characters.at(static_cast<std::size_t>(ending));
}

std::vector<LineEnding> lineEndings(QStringView text)
{
    std::vector<LineEnding> endings;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t next = i + 1 < text.size() ? text[i + 1].unicode() : u'\0';
        if (const std::optional<LineEnding> ending = endingAt(text[i].unicode(), next)) {
            endings.push_back(*ending);
            i += charactersOf(*ending).size() - 1;
        }
    }
    return endings;
}

LineEnding usualLineEnding(const std::vector<LineEnding>& endings)
{
    std::array<qsizetype, characters.size()> counts{};
    for (const LineEnding ending : endings)
        ++counts.at(static_cast<std::size_t>(ending));
    return static_cast<LineEnding>(std::max_element(counts.begin(), counts.end()) - counts.begin());
}
