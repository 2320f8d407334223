#pragma once

#include <QStringView>

#include <cstdint>
#include <vector>

/// What ends a line where a text document is concerned: besides the usual ones the Unicode paragraph separator, and two
/// noncharacters that the document claims for its frames.
enum class LineEnding : std::uint8_t {
    LineFeed,
    CarriageReturnLineFeed,
    CarriageReturn,
    ParagraphSeparator,
    BeginningOfFrame,
    EndOfFrame
};

/// The characters of `ending`.
QStringView charactersOf(LineEnding ending);

/// How each line of `text` ends; the last one, which nothing ends, does not count.
std::vector<LineEnding> lineEndings(QStringView text);

/// The most frequent of `endings`; a line feed when there are none.
LineEnding usualLineEnding(const std::vector<LineEnding>& endings);
