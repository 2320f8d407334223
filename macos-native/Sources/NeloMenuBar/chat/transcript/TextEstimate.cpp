#include "chat/transcript/TextEstimate.h"

#include "ui/TextRanges.h"

#include <QFontMetricsF>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace {

/// The number of letters of each kind in a text. A mark that combines with the letter before it takes no room.
struct LetterCount
{
    int narrow = 0;
    int wide = 0;
};

LetterCount countLetters(QStringView text)
{
    constexpr char16_t firstCombining = 0x300;
    constexpr char16_t lastCombining = 0x36F;
    constexpr char16_t firstWide = 0x2E80; // ideographs, kana, Hangul; then the surrogates, which are mostly emoji
    LetterCount count;
    for (const QChar letter : text) {
        const char16_t unit = letter.unicode();
        if (unit >= firstWide)
            count.wide += QChar::isLowSurrogate(unit) ? 0 : 1;
        else if (unit < firstCombining || unit > lastCombining)
            ++count.narrow;
    }
    return count;
}

} // namespace

TextEstimate::TextEstimate(const QFont& font)
    : m_font(font),
      m_narrow(measure(QStringLiteral("The quick brown fox jumps over the lazy dog, and nobody minds."), font)),
      m_wide(measure(QStringLiteral("您好"), font))
{}

int TextEstimate::height(QStringView text, int width) const
{
    double height = 0;
    for (const TextRange& paragraph : paragraphsOf(text)) {
        const LetterCount count = countLetters(text.sliced(paragraph.start, paragraph.length));
        const double advance = count.narrow * m_narrow.advance + count.wide * m_wide.advance;
        const double usable = width - 2 * m_narrow.advance; // a line ends at a word, so its end stays empty
        const double lines = advance <= width ? 1 : std::ceil(advance / std::max(usable, 1.0));
        height += lines * (count.wide > 0 ? m_wide.lineHeight : m_narrow.lineHeight);
    }
    return static_cast<int>(height);
}

int TextEstimate::width(QStringView text, int width) const
{
    QStringView widest;
    double widestAdvance = 0;
    for (const TextRange& range : paragraphsOf(text)) {
        const QStringView paragraph = text.sliced(range.start, range.length);
        const double paragraphAdvance = advance(paragraph);
        if (paragraphAdvance > widestAdvance) {
            widest = paragraph;
            widestAdvance = paragraphAdvance;
        }
    }
    if (widestAdvance > 2 * width)
        return width; // the paragraph breaks, even if the estimate is far from right
    return std::min(width, static_cast<int>(std::ceil(QFontMetricsF(m_font).horizontalAdvance(widest.toString()))));
}

TextEstimate::Letter TextEstimate::measure(const QString& sample, const QFont& font)
{
    QTextLayout layout(sample, font);
    layout.beginLayout();
    const QTextLine line = layout.createLine();
    layout.endLayout();
    return {line.naturalTextWidth() / static_cast<double>(sample.size()), line.height()};
}

double TextEstimate::advance(QStringView paragraph) const
{
    const LetterCount count = countLetters(paragraph);
    return count.narrow * m_narrow.advance + count.wide * m_wide.advance;
}
