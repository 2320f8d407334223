#pragma once

#include <QStringView>

#include <vector>

/// A run of a text, in UTF-16 code units.
struct TextRange
{
    qsizetype start = 0;
    qsizetype length = 0;

    qsizetype end() const { return start + length; }
    bool operator==(const TextRange&) const = default;
};

/// The paragraphs of `text`, without what breaks them: line feed, carriage return or both, and Unicode's own line and
/// paragraph separators. There is one more of them than there are breaks, so an empty text has one.
std::vector<TextRange> paragraphsOf(QStringView text);

/// Cuts `text` into runs of some thousand letters that are laid out one by one, so that the time to show a part of a
/// message does not depend on how long the whole is. A cut lies at a paragraph break, which belongs to neither side.
/// Only a paragraph longer than any that people write is cut inside: after a blank, else between two characters as
/// users see them.
std::vector<TextRange> chunksOf(QStringView text);

/// The paragraph that holds `position`, which may be its end.
TextRange paragraphAt(QStringView text, qsizetype position);

/// The word at `position`, or the run of blanks or the punctuation mark there (Unicode annex 29).
TextRange wordAt(QStringView text, qsizetype position);

/// From `position` to the next or the previous boundary between characters as users see them, or of words.
enum class TextStep { NextCharacter, PreviousCharacter, NextWord, PreviousWord };
qsizetype stepFrom(QStringView text, qsizetype position, TextStep step);
