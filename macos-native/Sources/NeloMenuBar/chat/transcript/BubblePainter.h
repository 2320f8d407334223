#pragma once

#include "ui/TextRanges.h"

#include <QPalette>

class QPainter;
class QRect;
class TranscriptLayout;

/// What to show of one row beside its text.
struct RowState
{
    TextRange selection;
    bool hasFocus = false;
};

/// Draws row `index` of `rows`, with the top of the visible part, `view`, at height `scrolledBy` of the rows. `view` is
/// in the painter's coordinates; only what lies in `clip` need be drawn.
void paintRow(QPainter& painter, const TranscriptLayout& rows, int index, int scrolledBy, const QRect& clip,
              const QPalette& palette, const RowState& state);
