#include "ui/VerbatimTextEdit.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>
#include <map>

namespace {

constexpr QStringView lineFeed = u"\n";

/// Where a block keeps how the line before it ends, when that is not usual for the text: as a property of its format,
/// because the document takes formats along when a line is split, joined or brought back.
constexpr int lineEndingProperty = QTextFormat::UserProperty;

/// Returns the length of what ends a line at `position` where a text document is concerned; 0 when nothing does.
/// Besides the usual line endings these are the paragraph separator and two noncharacters that the document uses for
/// frames.
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

/// Returns what ends each line of `text` but the last.
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

/// Returns the most frequent of `endings`. It is a line feed when there are none and when that is among the most
/// frequent.
QStringView usualLineEnding(const QList<QStringView>& endings)
{
    std::map<QStringView, qsizetype> counts{{lineFeed, 0}}; // which comes before all others
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
    auto* selection = new QMimeData; // the caller's
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
    cursor.insertBlock(); // the document's own way is a line separator, a stray character in a file
    setTextCursor(cursor);
}

bool VerbatimTextEdit::focusNextPrevChild(bool next)
{
    // The direct base never lets the focus go backwards while Tab is a character.
    return next ? QPlainTextEdit::focusNextPrevChild(next)
                : QAbstractScrollArea::focusNextPrevChild(next); // NOLINT(bugprone-parent-virtual-call)
}
