#include "ui/TextRanges.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace {

constexpr qsizetype chunkLength = 4096;
constexpr std::size_t chunkParagraphs = 128;
constexpr qsizetype maxParagraphLength = 32'768;
constexpr qsizetype range = 512; // boundaries of words and characters are searched in this many code units

bool isBreak(QChar c)
{
    return c == u'\n' || c == u'\r' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

bool isPairAt(QStringView text, qsizetype position)
{
    return position >= 0 && position + 1 < text.size() && text[position] == u'\r' && text[position + 1] == u'\n';
}

qsizetype afterBreak(QStringView text, qsizetype position)
{
    return position + (isPairAt(text, position) ? 2 : 1);
}

qsizetype beforeBreak(QStringView text, qsizetype position)
{
    return position - (isPairAt(text, position - 2) ? 2 : 1);
}

qsizetype paragraphEnd(QStringView text, qsizetype position)
{
    return std::find_if(text.begin() + position, text.end(), isBreak) - text.begin();
}

/// Returns the end of the paragraph, or `limit` when that comes first.
qsizetype paragraphEndUpTo(QStringView text, qsizetype position, qsizetype limit)
{
    return paragraphEnd(text.first(std::min(text.size(), limit)), position);
}

/// Returns the part of a paragraph near `position`.
TextRange surroundings(QStringView text, qsizetype position)
{
    qsizetype start = position;
    while (start > 0 && position - start < range && !isBreak(text[start - 1]))
        --start;
    const qsizetype end = paragraphEndUpTo(text, position, position + range);
    return {start, end - start};
}

/// Returns the last position up to `limit` where a line may end.
qsizetype cutBefore(QStringView text, qsizetype limit)
{
    const TextRange near = surroundings(text, limit);
    for (qsizetype i = limit; i > near.start; --i) {
        if (text[i - 1].isSpace())
            return i;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.sliced(near.start, near.length).toString());
    finder.setPosition(limit - near.start);
    const qsizetype boundary = finder.isAtBoundary() ? limit - near.start : finder.toPreviousBoundary();
    return boundary > 0 ? near.start + boundary : limit;
}

/// Returns the position after one step inside a paragraph, or nothing when `position` is its end on that side.
std::optional<qsizetype> stepInParagraph(QStringView text, qsizetype position, TextStep step)
{
    const bool forward = step == TextStep::NextCharacter || step == TextStep::NextWord;
    const bool byWord = step == TextStep::NextWord || step == TextStep::PreviousWord;
    const TextRange near = surroundings(text, position);
    QTextBoundaryFinder finder(byWord ? QTextBoundaryFinder::Word : QTextBoundaryFinder::Grapheme,
                               text.sliced(near.start, near.length).toString());
    qsizetype from = position - near.start;
    finder.setPosition(from);
    while (true) {
        const qsizetype to = forward ? finder.toNextBoundary() : finder.toPreviousBoundary();
        if (to < 0)
            return from == position - near.start ? std::nullopt : std::optional(near.start + from);
        const QStringView passed = text.sliced(near.start + std::min(from, to), std::abs(to - from));
        from = to;
        if (!byWord || !passed.trimmed().isEmpty())
            return near.start + to;
    }
}

} // namespace

std::vector<TextRange> paragraphsOf(QStringView text)
{
    std::vector<TextRange> paragraphs;
    qsizetype start = 0;
    for (qsizetype end = paragraphEnd(text, 0); end < text.size(); end = paragraphEnd(text, start)) {
        paragraphs.push_back({start, end - start});
        start = afterBreak(text, end);
    }
    paragraphs.push_back({start, text.size() - start});
    return paragraphs;
}

std::vector<TextRange> chunksOf(QStringView text)
{
    std::vector<TextRange> chunks;
    qsizetype start = 0;
    std::size_t paragraphs = 0;
    qsizetype position = 0;
    while (position <= text.size()) {
        const qsizetype end = paragraphEndUpTo(text, position, position + maxParagraphLength + 1);
        if (end - position > maxParagraphLength) {
            const qsizetype cut = cutBefore(text, position + maxParagraphLength);
            chunks.push_back({start, cut - start});
            start = position = cut;
            paragraphs = 0;
            continue;
        }
        const bool isLast = end == text.size();
        if (isLast || ++paragraphs == chunkParagraphs || end - start >= chunkLength) {
            chunks.push_back({start, end - start});
            start = isLast ? end : afterBreak(text, end);
            paragraphs = 0;
        }
        position = isLast ? text.size() + 1 : afterBreak(text, end);
    }
    chunks.shrink_to_fit();
    return chunks;
}

TextRange paragraphAt(QStringView text, qsizetype position)
{
    qsizetype start = position;
    while (start > 0 && !isBreak(text[start - 1]))
        --start;
    return {start, paragraphEnd(text, position) - start};
}

TextRange wordAt(QStringView text, qsizetype position)
{
    const TextRange near = surroundings(text, position);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Word, text.sliced(near.start, near.length).toString());
    finder.setPosition(std::min(position - near.start, std::max<qsizetype>(0, near.length - 1)));
    const qsizetype start = finder.isAtBoundary() ? finder.position() : finder.toPreviousBoundary();
    finder.setPosition(std::max<qsizetype>(0, start));
    const qsizetype end = finder.toNextBoundary();
    return {near.start + std::max<qsizetype>(0, start), std::max<qsizetype>(0, end - start)};
}

qsizetype stepFrom(QStringView text, qsizetype position, TextStep step)
{
    if (const std::optional<qsizetype> inside = stepInParagraph(text, position, step))
        return *inside;
    const bool forward = step == TextStep::NextCharacter || step == TextStep::NextWord;
    if (forward)
        return position == text.size() ? position : afterBreak(text, position);
    return position == 0 ? position : beforeBreak(text, position);
}
