#pragma once

#include "agents/core/LineEndings.h"

#include <QPlainTextEdit>

class QTextBlock;

/// A plain-text editor that gives back the bytes it was given: what was not edited keeps its line endings, byte-order
/// mark, no-break spaces and line separators, which a text document would otherwise change on the way out.
///
/// A line that is typed ends as the line it was typed in; a pasted one as most lines of the text. Shift+Tab leaves the
/// editor, Tab is a character.
class ConfigTextView final : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit ConfigTextView(QWidget* parent = nullptr);

    /// The text, in UTF-8.
    QByteArray bytes() const;
    /// Replaces the text and forgets what was done to the old one. Bytes that are not UTF-8 give an empty text.
    void setBytes(const QByteArray& bytes);

protected:
    QMimeData* createMimeDataFromSelection() const override;
    void keyPressEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void markUnusualLineEndings(const std::vector<LineEnding>& endings);
    LineEnding endingBefore(const QTextBlock& block) const;

    bool m_hasByteOrderMark = false;
    LineEnding m_usualLineEnding = LineEnding::LineFeed;
};
