#pragma once

#include <QString>

/// How many characters a reader sees: extended grapheme clusters, as Unicode's annex 29 has them. A flag, a family or a
/// letter with all its marks is one, and so is a carriage return with its line feed.
qsizetype characterCount(const QString& text);
