#pragma once

class TranscriptView;

/// Tells assistive technology about a transcript: it is a list, and its items are the bubbles. A bubble is no widget,
/// so Qt alone cannot find it.
namespace TranscriptAccessible {

/// Tells Qt how to make the interface of a transcript. Later calls have no effect.
void install();

/// Announces the bubble that was appended last.
void announceNewest(TranscriptView* view);

/// Announces which bubble has the keyboard focus. Does nothing when the transcript has not the focus.
void announceFocus(TranscriptView* view);

} // namespace TranscriptAccessible
