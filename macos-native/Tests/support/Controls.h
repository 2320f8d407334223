#pragma once

#include <QAbstractItemView>
#include <QAccessible>
#include <QComboBox>
#include <QPushButton>
#include <QTest>

/// What a person does to a control.
namespace Controls {

/// Opens `popup` and chooses its item `title`.
inline void choose(QComboBox* popup, const QString& title)
{
    popup->showPopup();
    popup->view()->setCurrentIndex(popup->model()->index(popup->findText(title), 0));
    QTest::keyClick(popup->view(), Qt::Key_Return);
    QCOMPARE(popup->currentText(), title);
}

/// Returns the titles of all items of `popup` in their order.
inline QStringList titles(const QComboBox& popup)
{
    QStringList titles;
    for (int item = 0; item < popup.count(); ++item)
        titles.append(popup.itemText(item));
    return titles;
}

/// Returns the button of `view` with the title `title`, or null when there is none.
inline QPushButton* button(const QWidget& view, const QString& title)
{
    for (QPushButton* candidate : view.findChildren<QPushButton*>()) {
        if (candidate->text() == title)
            return candidate;
    }
    return nullptr;
}

/// Returns the control of `view` that has the caption `name`, or this accessible name when it has no caption. Returns
/// null when there is none. A pop-up's accessible name is its current text on Linux.
template <typename Control> Control* named(const QWidget& view, const QString& name)
{
    for (Control* candidate : view.findChildren<Control*>()) {
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(candidate);
        const auto captions = accessible->relations(QAccessible::Label);
        if ((captions.isEmpty() ? accessible : captions.front().first)->text(QAccessible::Name) == name)
            return candidate;
    }
    return nullptr;
}

/// Presses the button of `view` that is titled `title`.
inline void press(const QWidget& view, const QString& title)
{
    QPushButton* found = button(view, title);
    QVERIFY2(found, qPrintable(title));
    found->click();
}

} // namespace Controls
