#pragma once

class QLabel;
class QWidget;

/// The line that introduces the product and links to the maker's customer service: centred, can be selected but not
/// edited; the link, `linkSize` device-independent pixels high beside text of ordinary size, opens in the default
/// browser, by mouse and by keyboard.
QLabel* makeSupportLine(int linkSize, QWidget* parent);
