#pragma once

class TranscriptView;

/// What assistive technology reads of a transcript: a list whose items are the bubbles. A bubble is no widget, so Qt
/// cannot find it by itself.
namespace TranscriptAccessible {

/// Tells Qt how to make the interface of a transcript. Calls after the first have no effect.
void install();

/// Announces that a bubble was appended.
void announceNewest(TranscriptView* view);

/// Announces which bubble has the keyboard.
void announceFocus(TranscriptView* view);

} // namespace TranscriptAccessible
