#pragma once

#include <QStringList>

class QWidget;

/// What keeps users who hear a window, or work it by keyboard, from what others see and click in it; each finding is a
/// line of text, and none is a good window.
namespace Access {

/// What `window` has in its accessible tree without a name: whatever can be operated or bears a text.
QStringList nameless(QWidget& window);

/// Texts that `window` shows and its accessible tree does not tell.
QStringList untold(QWidget& window);

/// Enabled controls and links of `window` that Tab does not come to from the first one.
QStringList beyondTab(QWidget& window);

} // namespace Access
