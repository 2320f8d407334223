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

/// Returns the paragraphs of `text` without their breaks, which are a line feed, a carriage return or both, and
/// Unicode's line and paragraph separators. There is one more paragraph than there are breaks: an empty text has one.
std::vector<TextRange> paragraphsOf(QStringView text);

/// Cuts `text` into runs of some thousand letters that are laid out one by one, so that the time to show a part of a
/// message does not depend on the length of the whole. A cut is at a paragraph break, which belongs to neither run.
/// Only a paragraph that is longer than any that people write is cut inside: after a blank, or else between two
/// characters as users see them.
std::vector<TextRange> chunksOf(QStringView text);

/// Returns the paragraph of `position`, which may be its end.
TextRange paragraphAt(QStringView text, qsizetype position);

/// Returns the word at `position`, or the run of blanks or the punctuation mark there (Unicode annex 29).
TextRange wordAt(QStringView text, qsizetype position);

/// Returns the next or the previous boundary from `position`: between characters as users see them, or of words.
enum class TextStep { NextCharacter, PreviousCharacter, NextWord, PreviousWord };
qsizetype stepFrom(QStringView text, qsizetype position, TextStep step);
