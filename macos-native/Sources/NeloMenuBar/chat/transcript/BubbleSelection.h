#pragma once

#include "ui/TextRanges.h"

/// What is selected in one text: from where the selection began to its moving end, by letters or by whole words or
/// paragraphs.
class BubbleSelection final
{
public:
    enum class Unit { Letter, Word, Paragraph };

    TextRange range() const { return m_range; }
    bool isEmpty() const { return m_range.length == 0; }
    /// The end that moves.
    qsizetype cursor() const { return m_cursor; }

    /// Begins anew with the unit of `text` at `position`.
    void begin(QStringView text, qsizetype position, Unit unit);
    /// Extends what was begun to the unit at `position`, on either side.
    void extendTo(QStringView text, qsizetype position);
    /// Moves the cursor's end by letters, as a key does.
    void moveTo(QStringView text, qsizetype position);
    void selectAll(QStringView text);
    void clear();

private:
    Unit m_unit = Unit::Letter;
    TextRange m_first; // the unit it began with
    TextRange m_range;
    qsizetype m_cursor = 0;
};
