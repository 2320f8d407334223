#pragma once

#include <QStringView>

#include <vector>

/// A part of a text, in UTF-16 code units.
struct TextRange
{
    qsizetype start = 0;
    qsizetype length = 0;

    qsizetype end() const { return start + length; }
    bool operator==(const TextRange&) const = default;
};

/// Returns the paragraphs of `text` without their breaks. A break is a line feed, a carriage return or both together,
/// and Unicode's line or paragraph separator. There is one more paragraph than there are breaks; an empty text has one.
std::vector<TextRange> paragraphsOf(QStringView text);

/// Divides `text` into chunks of some thousand letters. They are laid out one by one, so that the time to show a part
/// of a message does not depend on the length of the message. A chunk ends at a paragraph break, which belongs to no
/// chunk. Only a paragraph of more than 32,768 letters is divided itself: after a blank, or else between two characters
/// as users see them.
std::vector<TextRange> chunksOf(QStringView text);

/// Returns the paragraph that contains `position` or ends there.
TextRange paragraphAt(QStringView text, qsizetype position);

/// Returns the word, the blanks or the punctuation mark at `position`, as Unicode's annex 29 defines them.
TextRange wordAt(QStringView text, qsizetype position);

/// A step to the next or previous boundary, between characters as users see them or between words.
enum class TextStep { NextCharacter, PreviousCharacter, NextWord, PreviousWord };

/// Returns the position after one step from `position`. It stays the same at the end of the text.
qsizetype stepFrom(QStringView text, qsizetype position, TextStep step);
