#include "ui/SingleLine.h"

#include <algorithm>

namespace {

constexpr qsizetype maxLineLength = 1000; // in UTF-16 code units

bool isLineBreak(QChar character)
{
    switch (character.unicode()) {
    case u'\n':
    case u'\v':
    case u'\f':
    case u'\r':
    case 0x85: // next line
    case QChar::LineSeparator:
    case QChar::ParagraphSeparator:
        return true;
    default:
        return false;
    }
}

QString prefix(const QString& text)
{
    if (text.size() <= maxLineLength)
        return text;
    const bool splitsCharacter = text.at(maxLineLength - 1).isHighSurrogate();
    return text.left(splitsCharacter ? maxLineLength - 1 : maxLineLength) + QChar(u'…');
}

} // namespace

QString withoutLineBreaks(QString text)
{
    std::replace_if(text.begin(), text.end(), isLineBreak, QChar(u' '));
    return text;
}

QString singleLine(const QString& text)
{
    return withoutLineBreaks(prefix(text));
}
