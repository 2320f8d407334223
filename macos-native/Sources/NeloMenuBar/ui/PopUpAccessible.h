#pragma once

/// Tells assistive technology about pop-up buttons: the caption is the name, the selected title the value.
namespace PopUpAccessible {

/// Tells Qt how to make the interface of a pop-up button. Later calls have no effect.
void install();

} // namespace PopUpAccessible
