#pragma once

#include <QPlainTextEdit>

/// The text of an alert: plain text that wraps. It is as high as its lines; beyond a limit it scrolls. It can be
/// selected and copied. A text of some megabytes is shown without delay, with and without line breaks.
class InformativeText final : public QPlainTextEdit
{
    Q_OBJECT

public:
    InformativeText(const QString& text, int preferredWidth, int maximumHeight, QWidget* parent);

    QSize sizeHint() const override { return m_preferredSize; }
    QSize minimumSizeHint() const override;

protected:
    QMimeData* createMimeDataFromSelection() const override;

private:
    void showInPieces(const QString& text);
    int heightUpTo(int limit, int width) const;

    QSize m_preferredSize;
};
