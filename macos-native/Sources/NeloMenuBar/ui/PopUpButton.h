#pragma once

#include <QComboBox>

/// A pop-up button whose titles may come from outside: the selected one shows on one line and elides, and the wheel
/// scrolls the form around it instead of choosing another.
class PopUpButton final : public QComboBox
{
    Q_OBJECT

public:
    explicit PopUpButton(QWidget* parent = nullptr);

    /// Selects the item titled exactly `title`; no item is selected when there is none.
    void selectItemWithTitle(const QString& title);
    /// The selected item's title, or `whenNone` when no item is selected.
    QString titleOfSelectedItem(const QString& whenNone) const;

    void showPopup() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void initStyleOption(QStyleOptionComboBox* option) const override;
    void showEvent(QShowEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
};
