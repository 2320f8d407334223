#pragma once

#include <QPlainTextEdit>

class QTextBlock;

/// A plain-text editor that gives back the text it was given, character by character, but for what was edited. A text
/// document would not: it makes one line break of every kind that it knows, and its plain text has neither no-break
/// spaces nor line separators.
///
/// A line that is typed ends as the line it was typed in; a pasted one as most lines of the text. Shift+Tab leaves the
/// editor. Tab is a character, unless `tabChangesFocus` is set.
class VerbatimTextEdit final : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit VerbatimTextEdit(QWidget* parent = nullptr);

    /// The text, which a byte-order mark may precede.
    QString text() const;
    /// Replaces the text. Neither this nor any earlier edit can be undone.
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
