#include "agents/ConfigTextView.h"

#include "base/Text.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QTextBlock>
#include <QTextCursor>

#include <utility>

namespace {

/// Where a block keeps how the line before it ends, when that is not usual for the text: as a property of its format,
/// because the document takes formats along when a line is split, joined or brought back.
constexpr int endingBeforeProperty = QTextFormat::UserProperty;

} // namespace

ConfigTextView::ConfigTextView(QWidget* parent) : QPlainTextEdit(parent)
{
    setLineWrapMode(NoWrap);
}

QByteArray ConfigTextView::bytes() const
{
    QString text;
    text.reserve(document()->characterCount() + 1);
    if (m_hasByteOrderMark)
        text += QChar(QChar::ByteOrderMark);
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        if (block != document()->begin())
            text += charactersOf(endingBefore(block));
        text += block.text();
    }
    return text.toUtf8();
}

void ConfigTextView::setBytes(const QByteArray& bytes)
{
    QString text = decodeUtf8(bytes).value_or(QString());
    m_hasByteOrderMark = text.startsWith(QChar(QChar::ByteOrderMark));
    if (m_hasByteOrderMark)
        text.remove(0, 1);
    const std::vector<LineEnding> endings = lineEndings(text);
    m_usualLineEnding = usualLineEnding(endings);
    setPlainText(text);
    markUnusualLineEndings(endings);
}

void ConfigTextView::markUnusualLineEndings(const std::vector<LineEnding>& endings)
{
    document()->setUndoRedoEnabled(false); // there is nothing to undo in a text that was just loaded
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    QTextBlock block = document()->begin();
    for (const LineEnding ending : endings) {
        block = block.next();
        if (ending == m_usualLineEnding)
            continue;
        QTextBlockFormat format;
        format.setProperty(endingBeforeProperty, static_cast<int>(ending));
        cursor.setPosition(block.position());
        cursor.setBlockFormat(format);
    }
    cursor.endEditBlock();
    document()->setUndoRedoEnabled(true);
}

LineEnding ConfigTextView::endingBefore(const QTextBlock& block) const
{
    const QTextBlockFormat format = block.blockFormat();
    if (!format.hasProperty(endingBeforeProperty))
        return m_usualLineEnding;
    return static_cast<LineEnding>(format.intProperty(endingBeforeProperty));
}

QMimeData* ConfigTextView::createMimeDataFromSelection() const
{
    auto* selection = new QMimeData; // the caller's
    selection->setText(textCursor().selectedText().replace(QChar(QChar::ParagraphSeparator), QChar(u'\n')));
    return selection;
}

void ConfigTextView::keyPressEvent(QKeyEvent* event)
{
    if (!event->matches(QKeySequence::InsertLineSeparator)) {
        QPlainTextEdit::keyPressEvent(event);
        return;
    }
    QTextCursor cursor = textCursor();
    cursor.insertBlock(); // the document's own way is a line separator, a stray character in a file
    setTextCursor(cursor);
}

bool ConfigTextView::focusNextPrevChild(bool next)
{
    // The direct base is passed over because it never lets the focus go.
    return !next && QAbstractScrollArea::focusNextPrevChild(next); // NOLINT(bugprone-parent-virtual-call)
}
