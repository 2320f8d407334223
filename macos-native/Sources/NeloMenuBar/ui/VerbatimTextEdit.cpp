#include "ui/VerbatimTextEdit.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>
#include <map>

namespace {

constexpr QStringView lineFeed = u"\n";

/// The property of a block's format with the ending of the line before it, when that is not the usual one of the text.
/// It is a property of the format, because the document keeps formats when lines are split, joined or restored by undo.
constexpr int lineEndingProperty = QTextFormat::UserProperty;

/// Returns the length of the line ending at `position`, or 0 when there is none. A text document also ends a line at
/// the paragraph separator and at two noncharacters, which it uses for frames.
qsizetype lineEndingLength(QStringView text, qsizetype position)
{
    switch (text[position].unicode()) {
    case u'\r':
        return text.sliced(position).startsWith(u"\r\n") ? 2 : 1;
    case u'\n':
    case u'\u2029':
    case 0xfdd0:
    case 0xfdd1:
        return 1;
    default:
        return 0;
    }
}

/// Returns the endings of all lines of `text` except the last.
QList<QStringView> lineEndings(QStringView text)
{
    QList<QStringView> endings;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const qsizetype length = lineEndingLength(text, i);
        if (length == 0)
            continue;
        endings.append(text.sliced(i, length));
        i += length - 1;
    }
    return endings;
}

/// Returns the most frequent of `endings`. It is a line feed when there are no endings, or when no other is more
/// frequent than a line feed.
QStringView usualLineEnding(const QList<QStringView>& endings)
{
    std::map<QStringView, qsizetype> counts{{lineFeed, 0}}; // it comes before all others
    for (const QStringView ending : endings)
        ++counts[ending];
    const auto isLess = [](const auto& one, const auto& other) { return one.second < other.second; };
    return std::max_element(counts.begin(), counts.end(), isLess)->first;
}

} // namespace

VerbatimTextEdit::VerbatimTextEdit(QWidget* parent) : QPlainTextEdit(parent), m_usualLineEnding(lineFeed.toString())
{
    setLineWrapMode(NoWrap);
}

QString VerbatimTextEdit::text() const
{
    QString text;
    text.reserve(document()->characterCount() + 1);
    if (m_hasByteOrderMark)
        text += QChar(QChar::ByteOrderMark);
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        if (block != document()->begin())
            text += lineEndingBefore(block);
        text += block.text();
    }
    return text;
}

void VerbatimTextEdit::setText(QString text)
{
    m_hasByteOrderMark = text.startsWith(QChar(QChar::ByteOrderMark));
    if (m_hasByteOrderMark)
        text.remove(0, 1);
    const QList<QStringView> endings = lineEndings(text);
    m_usualLineEnding = usualLineEnding(endings).toString();
    setPlainText(text);
    markUnusualLineEndings(endings);
}

void VerbatimTextEdit::markUnusualLineEndings(const QList<QStringView>& endings)
{
    document()->setUndoRedoEnabled(false); // a text that was just loaded has nothing to undo
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    QTextBlock block = document()->begin();
    for (const QStringView ending : endings) {
        block = block.next();
        if (ending == m_usualLineEnding)
            continue;
        QTextBlockFormat format;
        format.setProperty(lineEndingProperty, ending.toString());
        cursor.setPosition(block.position());
        cursor.setBlockFormat(format);
    }
    cursor.endEditBlock();
    document()->setUndoRedoEnabled(true);
}

QString VerbatimTextEdit::lineEndingBefore(const QTextBlock& block) const
{
    const QTextBlockFormat format = block.blockFormat();
    return format.hasProperty(lineEndingProperty) ? format.stringProperty(lineEndingProperty) : m_usualLineEnding;
}

QMimeData* VerbatimTextEdit::createMimeDataFromSelection() const
{
    auto* selection = new QMimeData; // the caller owns it
    selection->setText(textCursor().selectedText().replace(QChar(QChar::ParagraphSeparator), QChar(u'\n')));
    return selection;
}

void VerbatimTextEdit::keyPressEvent(QKeyEvent* event)
{
    if (!event->matches(QKeySequence::InsertLineSeparator)) {
        QPlainTextEdit::keyPressEvent(event);
        return;
    }
    QTextCursor cursor = textCursor();
    cursor.insertBlock(); // the base class would insert a line separator, which does not belong in a file
    setTextCursor(cursor);
}

bool VerbatimTextEdit::focusNextPrevChild(bool next)
{
    // The direct base class does not let Shift+Tab leave the editor while Tab is a character.
    return next ? QPlainTextEdit::focusNextPrevChild(next)
                : QAbstractScrollArea::focusNextPrevChild(next); // NOLINT(bugprone-parent-virtual-call)
}
