#pragma once

#include <QPlainTextEdit>

/// Secondary plain text in a fixed number of lines. A longer text scrolls, so that the controls below stay at their
/// place. The text can be selected and copied, and is the accessible name.
class ScrollingLabel final : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit ScrollingLabel(int lines, QWidget* parent = nullptr);

    QString text() const { return toPlainText(); }
    void setText(const QString& text);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyEmphasis();
    void applyHeight();

    int m_lines;
};
