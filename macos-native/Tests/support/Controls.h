#pragma once

#include <QAbstractItemView>
#include <QComboBox>
#include <QPushButton>
#include <QTest>

/// What a person does to a control.
namespace Controls {

/// Opens `popup` and takes its item `title`.
inline void choose(QComboBox* popup, const QString& title)
{
    popup->showPopup();
    popup->view()->setCurrentIndex(popup->model()->index(popup->findText(title), 0));
    QTest::keyClick(popup->view(), Qt::Key_Return);
    QCOMPARE(popup->currentText(), title);
}

/// The button of `view` that is titled `title`; none is a null pointer.
inline QPushButton* button(const QWidget& view, const QString& title)
{
    for (QPushButton* candidate : view.findChildren<QPushButton*>()) {
        if (candidate->text() == title)
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
