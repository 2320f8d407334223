#pragma once

#include <QFont>
#include <QStringView>

/// How much room a text takes, from what its letters take on average: a thousandth of the work of laying it out, and
/// good enough to place a scroll bar.
class TextEstimate final
{
public:
    explicit TextEstimate(const QFont& font);

    /// The height of `text` broken into lines of `width`, in device-independent pixels.
    int height(QStringView text, int width) const;
    /// The width of the paragraph that takes the most room as far as can be told by its letters, but at most `width`.
    /// Only this paragraph is measured.
    int width(QStringView text, int width) const;

private:
    /// An average letter, and a line of such letters.
    struct Letter
    {
        double advance = 0;
        double lineHeight = 0;
    };

    static Letter measure(const QString& sample, const QFont& font);
    double advance(QStringView paragraph) const;

    QFont m_font;
    Letter m_narrow; // Latin and the like
    Letter m_wide;   // ideographs and emoji
};
