#pragma once

#include <QString>

/// Returns `text` with a blank for each line break.
QString withoutLineBreaks(QString text);

/// Returns what a view of one line can show of `text`: without line breaks, and cut and marked by an ellipsis where no
/// screen has room for more, so that laying out a text of a megabyte costs no more than a line.
QString singleLine(const QString& text);
