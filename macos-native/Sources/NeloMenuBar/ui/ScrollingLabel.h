#pragma once

#include <QPlainTextEdit>

/// Secondary plain text in a fixed number of lines. A longer text scrolls there, so that no text from outside moves the
/// controls below. It can be selected and copied, and is its own accessible name.
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
