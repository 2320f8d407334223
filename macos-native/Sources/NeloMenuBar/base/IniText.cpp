#include "base/IniText.h"

#include <QByteArrayList>

#include <algorithm>

namespace {

bool isAsciiLetterOrDigit(QChar c)
{
    return c.unicode() < 0x80 && c.isLetterOrNumber();
}

/// Whether a character has no meaning of its own in a value, wherever it is in it.
bool isPlain(QChar c)
{
    return isAsciiLetterOrDigit(c) || QStringLiteral("-_.+/").contains(c);
}

/// The value that `QSettings` reads as `text`.
QByteArray iniValue(const QString& text)
{
    if (std::all_of(text.begin(), text.end(), isPlain))
        return text.toLatin1();
    QByteArray value = "\"";
    if (text.startsWith(u'@'))
        value += '@';           // one alone begins the name of a type
    bool followsEscape = false; // which takes all hexadecimal digits after it for its own
    for (const QChar c : text) {
        const bool mayStand = isPlain(c) || c == u' ' || c == u'@';
        followsEscape = !mayStand || (followsEscape && isAsciiLetterOrDigit(c));
        value += followsEscape ? "\\x" + QByteArray::number(c.unicode(), 16) : QByteArray(1, c.toLatin1());
    }
    return value + '"';
}

bool opensGroup(const QByteArray& line)
{
    return line.trimmed().startsWith('[');
}

/// Whether what follows the line is in no group: so `QSettings` calls that.
bool opensTopLevel(const QByteArray& line)
{
    return line.trimmed().compare("[General]", Qt::CaseInsensitive) == 0;
}

bool isOf(const QByteArray& key, const QByteArray& line)
{
    return line.contains('=') && line.left(line.indexOf('=')).trimmed() == key;
}

} // namespace

QByteArray withIniValue(const QByteArray& ini, const QByteArray& key, const QString& text)
{
    QByteArrayList lines{"[General]", key + '=' + iniValue(text)};
    bool isTopLevel = true; // as it is before the first group
    const QByteArrayList earlier = ini.split('\n');
    for (const QByteArray& line : earlier) {
        isTopLevel = opensGroup(line) ? opensTopLevel(line) : isTopLevel;
        const bool isRepeated = isTopLevel && (isOf(key, line) || (opensTopLevel(line) && lines.size() == 2));
        if (!isRepeated)
            lines.append(line);
    }
    return lines.join('\n');
}
