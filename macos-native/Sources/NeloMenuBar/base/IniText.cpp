#include "base/IniText.h"

#include <QByteArrayList>
#include <QRegularExpression>

#include <algorithm>
#include <optional>

namespace {

bool isAsciiLetterOrDigit(QChar c)
{
    return c.unicode() < 0x80 && c.isLetterOrNumber();
}

/// Returns whether a character has no special meaning anywhere in a value.
bool isPlain(QChar c)
{
    return isAsciiLetterOrDigit(c) || QStringLiteral("-_.+/").contains(c);
}

/// Returns the value that `QSettings` reads as `text`.
QByteArray valueOf(const QString& text)
{
    if (std::all_of(text.begin(), text.end(), isPlain))
        return text.toLatin1();
    QByteArray value = "\"";
    if (text.startsWith(u'@'))
        value += '@';           // a single "@" would begin the name of a type
    bool followsEscape = false; // a hexadecimal digit after an escape would become part of it
    for (const QChar c : text) {
        const bool isLiteral = isPlain(c) || c == u' ' || c == u'@';
        followsEscape = !isLiteral || (followsEscape && isAsciiLetterOrDigit(c));
        value += followsEscape ? "\\x" + QByteArray::number(c.unicode(), 16) : QByteArray(1, c.toLatin1());
    }
    return value + '"';
}

QChar characterOfEscape(QChar letter)
{
    const qsizetype index = QStringLiteral("abfnrtv").indexOf(letter);
    return index < 0 ? letter : QStringLiteral("\a\b\f\n\r\t\v").at(index);
}

/// Returns the text that `value` stands for, by the rules of `QSettings`.
QString textOfValue(const QByteArray& value)
{
    static const QRegularExpression part(QStringLiteral(R"(\\x([0-9A-Fa-f]+)|\\([0-7]+)|\\(.)|([^"\\]+))"));
    QString text;
    QRegularExpressionMatchIterator parts = part.globalMatch(QString::fromUtf8(value));
    while (parts.hasNext()) {
        const QRegularExpressionMatch match = parts.next();
        if (match.hasCaptured(1))
            text += QChar(static_cast<char16_t>(match.captured(1).toUInt(nullptr, 16)));
        else if (match.hasCaptured(2))
            text += QChar(static_cast<char16_t>(match.captured(2).toUInt(nullptr, 8)));
        else if (match.hasCaptured(3))
            text += characterOfEscape(match.captured(3).front());
        else
            text += match.captured(4);
    }
    if (text.startsWith(QStringLiteral("@@")))
        return text.sliced(1);
    return text.startsWith(u'@') && text.endsWith(u')') ? QString() : text; // such as "@Invalid()"
}

bool opensGroup(const QByteArray& line)
{
    return line.trimmed().startsWith('[');
}

/// Returns whether the lines after `line` are in no group: `QSettings` calls that "General".
bool opensTopLevel(const QByteArray& line)
{
    return line.trimmed().compare("[General]", Qt::CaseInsensitive) == 0;
}

QByteArray keyOf(const QByteArray& line)
{
    return line.contains('=') ? line.left(line.indexOf('=')).trimmed() : QByteArray();
}

/// Calls `visit` with each line and whether it is in no group.
template <typename Visit> void forEachLine(const QByteArray& ini, const Visit& visit)
{
    bool isTopLevel = true; // no group has begun yet
    const QByteArrayList lines = ini.split('\n');
    for (const QByteArray& line : lines) {
        isTopLevel = opensGroup(line) ? opensTopLevel(line) : isTopLevel;
        visit(line, isTopLevel);
    }
}

} // namespace

QString iniValue(const QByteArray& ini, const QByteArray& key)
{
    QString text;
    forEachLine(ini, [&](const QByteArray& line, bool isTopLevel) {
        if (isTopLevel && keyOf(line) == key) // the last one of several equal keys counts
            text = textOfValue(line.mid(line.indexOf('=') + 1).trimmed());
    });
    return text;
}

QByteArray withIniValues(const QByteArray& ini, const QMap<QByteArray, QString>& values)
{
    QByteArrayList lines{"[General]"};
    for (auto value = values.begin(); value != values.end(); ++value)
        lines.append(value.key() + '=' + valueOf(value.value()));
    const qsizetype ownLines = lines.size();
    forEachLine(ini, [&](const QByteArray& line, bool isTopLevel) {
        const bool isRepeatedTitle = opensTopLevel(line) && lines.size() == ownLines;
        if (!isRepeatedTitle && !(isTopLevel && values.contains(keyOf(line))))
            lines.append(line);
    });
    return lines.join('\n');
}
