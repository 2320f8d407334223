#pragma once

#include <QByteArray>
#include <QList>
#include <QStringList>

/// A case of a public test suite for JSON parsers.
struct JsonText
{
    QByteArray name; // begins with "y_" if a parser must accept it, "n_" if it must refuse it, "i_" if it may do either
    QByteArray text; // not always UTF-8
};

/// What others have collected. Each is empty, and says so in a warning, when its file cannot be read.
namespace Corpora {

/// The cases of support/json-texts, and the two of the suite that are too long to stand there.
QList<JsonText> jsonTexts();

/// The strings of support/naughty-strings.
QStringList naughtyStrings();

} // namespace Corpora
