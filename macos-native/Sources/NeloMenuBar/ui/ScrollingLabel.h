#pragma once

#include <QPlainTextEdit>

/// Plain text of less weight in a fixed number of lines: a longer one scrolls there, so that no text from outside moves
/// what stands below. It can be selected and copied, and is its own accessible name.
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
