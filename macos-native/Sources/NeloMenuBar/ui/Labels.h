#pragma once

#include "ui/Announcer.h"

#include <QFont>
#include <QHash>
#include <QLabel>

/// Returns `font` at `size` device-independent pixels. On a desktop with larger text it is larger in proportion.
QFont fontOfSize(const QFont& font, int size, QFont::Weight weight = QFont::Normal);

/// The emphasis of a label's text.
enum class Emphasis { Primary, Secondary };

/// Shows `text` as plain text in a tool tip over `widget`, at the position `globalPos` of the screen. Of a text with
/// more than 5,000 characters only the beginning is shown: a tool tip cannot scroll.
void showToolTip(QPoint globalPos, const QString& text, QWidget* widget);

/// One line of plain text. It elides at the tail, never makes its window wider, and shows a line feed as a blank. While
/// it is elided, its tool tip shows the text.
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
    int lineWidth() const;
    bool isElided() const;

    Emphasis m_emphasis = Emphasis::Primary;
    // To measure a text takes as long as to paint it, and a label needs its width for both its size and its painting.
    mutable QString m_measuredText;
    mutable int m_lineWidth = 0; // of that text
};

/// The line that tells what came of the last action, of secondary emphasis. A new text is also announced.
class StatusLine final : public Label
{
    Q_OBJECT

public:
    explicit StatusLine(const QString& objectName, const QString& text, QWidget* parent);

    /// Shows `text`, and announces it unless it is shown already.
    void showAndAnnounce(const QString& text);

private:
    using Label::setText; // it would announce nothing

    Announcer m_announcer{*this};
};

/// Returns a label of secondary emphasis with the object name `objectName`.
Label* makeSecondaryLabel(const QString& objectName, const QString& text, QWidget* parent);

/// A label with plain text that wraps at words. The text can be selected and copied.
class WrappingLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit WrappingLabel(const QString& text = {}, QWidget* parent = nullptr);

    void setEmphasis(Emphasis emphasis);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyEmphasis();

    Emphasis m_emphasis = Emphasis::Primary;
    // The layouts around a label ask for its height many times before it is shown, and each answer lays out the text.
    mutable QString m_measuredText;
    mutable QHash<int, int> m_heights; // of that text, by width
};

/// Returns the line that introduces the product and links to the maker's customer service. It is centred and can be
/// selected. The mouse and the keyboard open the link in the default browser. The link is `linkSize` device-independent
/// pixels high, or larger in proportion on a desktop with larger text.
QLabel* makeSupportLine(int linkSize, QWidget* parent);
