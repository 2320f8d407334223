#pragma once

class TranscriptView;

/// What assistive technology is told about a transcript: a list whose items are the bubbles. None of them is a widget,
/// so Qt cannot find them itself.
namespace TranscriptAccessible {

/// Has Qt ask here about transcripts; more than once does no harm.
void install();

/// Tells that the newest bubble came.
void announceNewest(TranscriptView* view);

/// Tells which bubble has the keyboard now.
void announceFocus(TranscriptView* view);

} // namespace TranscriptAccessible
