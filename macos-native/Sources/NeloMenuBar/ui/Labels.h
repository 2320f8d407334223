#pragma once

#include <QFont>
#include <QHash>
#include <QLabel>

/// Returns `font` at `size` device-independent pixels, or in proportion larger on a desktop with larger text.
QFont fontOfSize(const QFont& font, int size, QFont::Weight weight = QFont::Normal);

/// The emphasis of a label's text.
enum class Emphasis { Primary, Secondary };

/// One line of plain text. It elides at the tail and never makes its window wider, shows line feeds as blanks, and
/// shows the whole text in its tool tip while it is elided.
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

/// Returns a label of secondary emphasis with the object name `objectName`.
Label* makeSecondaryLabel(const QString& objectName, const QString& text, QWidget* parent);

/// Returns a label with plain text that wraps at words. It can be selected and copied.
class WrappingLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit WrappingLabel(const QString& text = {}, QWidget* parent = nullptr);

    void setEmphasis(Emphasis emphasis);

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
/// selected. The link, `linkSize` device-independent pixels high beside text of ordinary size, opens in the default
/// browser, by mouse and by keyboard.
QLabel* makeSupportLine(int linkSize, QWidget* parent);
