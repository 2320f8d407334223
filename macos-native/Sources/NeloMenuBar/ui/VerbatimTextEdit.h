#pragma once

#include <QPlainTextEdit>

class QTextBlock;

/// A plain-text editor that returns the text exactly as it was set, except for the edits. A text document alone does
/// not: it turns all line endings into one kind, and its plain text has neither no-break spaces nor line separators.
///
/// A typed line gets the ending of the line in which it was typed. A pasted line gets the usual ending of the text.
/// Shift+Tab leaves the editor. Tab is a character, unless `tabChangesFocus` is set.
class VerbatimTextEdit final : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit VerbatimTextEdit(QWidget* parent = nullptr);

    /// Returns the text. It begins with a byte-order mark if the text that was set did.
    QString text() const;
    /// Replaces the text. This and all earlier edits cannot be undone.
    void setText(QString text);

protected:
    QMimeData* createMimeDataFromSelection() const override;
    void keyPressEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void markUnusualLineEndings(const QList<QStringView>& endings);
    QString lineEndingBefore(const QTextBlock& block) const;

    bool m_hasByteOrderMark = false;
    QString m_usualLineEnding;
};
