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

private:
    /// An average letter, and a line of such letters.
    struct Letter
    {
        double advance = 0;
        double lineHeight = 0;
    };

    static Letter measure(const QString& sample, const QFont& font);

    Letter m_narrow; // Latin and the like
    Letter m_wide;   // ideographs and emoji
};
