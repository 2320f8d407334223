#pragma once

#include "ui/TextRanges.h"

/// The selection in one text. It goes from the unit where it began to the cursor. A unit is a letter, a word or a
/// paragraph.
class BubbleSelection final
{
public:
    enum class Unit { Letter, Word, Paragraph };

    TextRange range() const { return m_range; }
    bool isEmpty() const { return m_range.length == 0; }
    /// Returns the end that moves when the selection is extended.
    qsizetype cursor() const { return m_cursor; }

    /// Begins a new selection with the unit of `text` at `position`.
    void begin(QStringView text, qsizetype position, Unit unit);
    /// Extends the selection to the unit at `position`, which may be before or after the first unit.
    void extendTo(QStringView text, qsizetype position);
    /// Moves the cursor to `position`, and keeps the other end. The unit is a letter from now on.
    void moveTo(QStringView text, qsizetype position);
    void selectAll(QStringView text);
    void clear();

private:
    Unit m_unit = Unit::Letter;
    TextRange m_first; // the unit where the selection began
    TextRange m_range;
    qsizetype m_cursor = 0;
};
