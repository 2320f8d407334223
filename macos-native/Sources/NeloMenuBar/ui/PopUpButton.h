#pragma once

#include "ui/Announcer.h"

#include <QComboBox>

/// A pop-up button whose titles may come from outside. It shows the selected title on one elided line. The mouse wheel
/// scrolls the form around the button and does not select another item. A title that the user selects is announced. For
/// assistive technology the caption is the button's name, and the selected title its value.
class PopUpButton final : public QComboBox
{
    Q_OBJECT

public:
    explicit PopUpButton(QWidget* parent = nullptr);

    /// Selects the item with exactly this `title`, or no item when there is none.
    void selectItemWithTitle(const QString& title);
    /// Returns the selected item's title, or `whenNone` when no item is selected.
    QString titleOfSelectedItem(const QString& whenNone) const;

    QSize minimumSizeHint() const override;
    void showPopup() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void initStyleOption(QStyleOptionComboBox* option) const override;
    void showEvent(QShowEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    Announcer m_announcer{*this};
};
