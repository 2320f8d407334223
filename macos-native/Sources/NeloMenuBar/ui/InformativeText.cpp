#include "ui/InformativeText.h"

#include "ui/TextRanges.h"

#include <QMimeData>
#include <QTextBlock>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace {

constexpr int continuesTheBlockBefore = 1; // a block's user state

/// Returns the height of the paragraph `text` when it wraps as in a plain text edit.
double heightOf(const QString& text, const QFont& font, int width)
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout(text, font);
    layout.setTextOption(option);
    double height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(width);
        height += line.height();
    }
    layout.endLayout();
    return height;
}

} // namespace

InformativeText::InformativeText(const QString& text, int preferredWidth, int maximumHeight, QWidget* parent)
    : QPlainTextEdit(parent)
{
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setFrameShape(QFrame::NoFrame);
    setTabChangesFocus(true);
    setHorizontalScrollBarPolicy(
        Qt::ScrollBarAlwaysOff); // lines wrap; blanks at their ends may reach beyond the border
    viewport()->setAutoFillBackground(false);
    document()->setDocumentMargin(0);
    setAccessibleName(text);
    showInPieces(text);

    const int height = heightUpTo(maximumHeight, preferredWidth);
    m_preferredSize = {preferredWidth, std::min(height, maximumHeight)};
    setVerticalScrollBarPolicy(height > maximumHeight ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAsNeeded);
}

QSize InformativeText::minimumSizeHint() const
{
    return {0, fontMetrics().height()};
}

QMimeData* InformativeText::createMimeDataFromSelection() const
{
    const QTextCursor selection = textCursor();
    QString text;
    for (QTextBlock block = document()->findBlock(selection.selectionStart());
         block.isValid() && block.position() <= selection.selectionEnd(); block = block.next()) {
        const int from = std::max(0, selection.selectionStart() - block.position());
        const int to = std::min(block.length() - 1, selection.selectionEnd() - block.position());
        const bool isFirst = block.position() <= selection.selectionStart();
        if (!isFirst && block.userState() != continuesTheBlockBefore)
            text += u'\n';
        text += QStringView(block.text()).sliced(from, to - from);
    }
    auto* copied = new QMimeData;
    copied->setText(text);
    return copied;
}

/// Shows `text` in blocks of limited length. Qt lays out a whole block at once, and the time grows with the square of
/// its length: a block of megabytes would freeze the window.
void InformativeText::showInPieces(const QString& text)
{
    QString pieces = QString(text).replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
    const std::vector<TextRange> chunks = chunksOf(pieces);
    std::vector<qsizetype> continuations; // the positions of pieces that follow no line break
    for (std::size_t i = 1; i < chunks.size(); ++i) {
        if (chunks[i].start == chunks[i - 1].end())
            continuations.push_back(chunks[i].start);
    }
    std::for_each(continuations.rbegin(), continuations.rend(),
                  [&pieces](qsizetype start) { pieces.insert(start, u'\n'); });
    setPlainText(pieces);
    qsizetype inserted = 0;
    for (const qsizetype start : continuations)
        document()->findBlock(static_cast<int>(start + ++inserted)).setUserState(continuesTheBlockBefore);
}

/// Returns the height of the whole text when it wraps at `width`. Stops counting beyond `limit`.
int InformativeText::heightUpTo(int limit, int width) const
{
    double height = 0;
    for (QTextBlock block = document()->begin(); block.isValid() && height <= limit; block = block.next())
        height += heightOf(block.text(), font(), width);
    return static_cast<int>(std::ceil(height)) + 1; // a line that touches the border would count as hidden
}
