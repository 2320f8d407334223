#pragma once

#include <QString>

/// Returns `text` with a blank in place of each line break.
QString withoutLineBreaks(QString text);

/// Returns `text` for a view of one line: with blanks in place of line breaks, and cut after 1,000 characters with an
/// ellipsis. No screen has room for more, and laying out a text of a megabyte takes no longer than that of one line.
QString singleLine(const QString& text);
