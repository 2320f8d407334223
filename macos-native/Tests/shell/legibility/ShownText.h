#pragma once

#include <QFont>
#include <QRect>
#include <QString>

#include <vector>

class QWidget;

/// A text that a window shows.
struct ShownText
{
    QString text;
    /// The widget that shows it, for a message.
    QString place;
    QFont font;
    /// The room that it has, in the coordinates of the window.
    QRect room;
    /// The part of it that is not scrolled out of sight.
    QRect inSight;
    /// The room that the whole text needs; empty where a longer text scrolls.
    QSize needed;
    /// The contrast that it must have to what it stands on: what WCAG 2.1 asks for in 1.4.3, unless its colors were
    /// given to us.
    double contrast = 4.5;
};

/// The texts in the visible and enabled widgets of `window`: labels, buttons, check boxes, pop-ups with all their
/// items, fields with their placeholders, titles of boxes, tabs and columns, cells, bubbles, and the items of a menu.
std::vector<ShownText> textsShownBy(QWidget& window);
