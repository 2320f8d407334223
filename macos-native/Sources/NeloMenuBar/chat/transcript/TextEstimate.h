#pragma once

#include <QFont>
#include <QStringView>

/// Estimates how much room a text takes from the average size of its letters. This takes a thousandth of the time of
/// laying the text out, and is exact enough for a scroll bar.
class TextEstimate final
{
public:
    explicit TextEstimate(const QFont& font);

    /// Returns the height of `text`, broken into lines of `width`, in device-independent pixels.
    int height(QStringView text, int width) const;
    /// Returns the width of the widest paragraph, but at most `width`. The widest one is found by an estimate; only
    /// this one is measured.
    int width(QStringView text, int width) const;

private:
    /// The width of an average letter, and the height of a line of such letters.
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
