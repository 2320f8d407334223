#pragma once

#include <QFont>
#include <QLabel>

/// `font` at `size` device-independent pixels, or larger where the text of the desktop is.
QFont fontOfSize(const QFont& font, int size, QFont::Weight weight = QFont::Normal);

/// How much weight a label's text has.
enum class Emphasis { Primary, Secondary };

/// One line of plain text. It elides at the tail rather than make its window wider, shows line feeds as blanks, and
/// tells the whole text as its tool tip while it is elided.
class Label : public QLabel
{
    Q_OBJECT

public:
    explicit Label(const QString& text = {}, QWidget* parent = nullptr);

    void setEmphasis(Emphasis emphasis);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void applyEmphasis();
    bool isElided() const;

    Emphasis m_emphasis = Emphasis::Primary;
};

/// A label of secondary emphasis, called `objectName`.
Label* makeSecondaryLabel(const QString& objectName, const QString& text, QWidget* parent);

/// Plain text over as many lines as it needs, broken at words. It can be selected and copied.
class WrappingLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit WrappingLabel(const QString& text = {}, QWidget* parent = nullptr);

    void setEmphasis(Emphasis emphasis);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyEmphasis();

    Emphasis m_emphasis = Emphasis::Primary;
};
