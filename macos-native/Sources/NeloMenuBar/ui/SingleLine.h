#pragma once

#include <QString>

/// What a view of one line can show of `text`: line breaks are blanks, and what no screen has room for is cut and
/// marked by an ellipsis, so that laying out a text of a megabyte costs no more than a line.
QString singleLine(const QString& text);
