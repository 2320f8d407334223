#include "ui/Buttons.h"

#include "support/Warnings.h"

#include <QDialog>
#include <QLineEdit>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

/// A dialog with a button and a field, to which the keyboard may go.
struct Form
{
    explicit Form(QPushButton* theButton) : button(theButton)
    {
        auto* column = new QVBoxLayout(&dialog);
        column->addWidget(button);
        column->addWidget(field);
        dialog.show();
    }

    QImage pictureWithKeyboard()
    {
        comeForward();
        QTest::keyClick(field, Qt::Key_Tab); // a style may show it only to those who use keys
        return button->grab().toImage();
    }

    QImage pictureWithoutKeyboard()
    {
        comeForward();
        return button->grab().toImage();
    }

    void comeForward()
    {
        dialog.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        field->setFocus();
    }

    QDialog dialog;
    QPushButton* button;
    QLineEdit* field = new QLineEdit;
};

QRect whereTheyDiffer(const QImage& one, const QImage& other)
{
    QRect found;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            if (one.pixel(x, y) != other.pixel(x, y))
                found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

} // namespace

/// Push buttons.
class TestButtons final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void showsItsTitleToTheLetter()
    {
        QWidget window;
        const QPushButton* button = makeButton(u"Save & Quit && go"_s, &window);
        QCOMPARE(button->text(), u"Save && Quit &&&& go"_s);
        QVERIFY(button->shortcut().isEmpty());
        QCOMPARE(button->accessibleName(), u"Save & Quit && go"_s);
    }

    void runsItsAction()
    {
        QWidget window;
        QPushButton* button = makeButton(u"Close"_s, &window, &window, &QWidget::hide);
        window.show();
        button->click();
        QVERIFY(!window.isVisible());
    }

    void isNoDefaultUnasked()
    {
        const Form form(makeButton(u"Close"_s, nullptr));
        QTest::keyClick(form.field, Qt::Key_Return);
        QVERIFY(form.dialog.isVisible());
        QVERIFY(!form.button->isDefault());
    }

    void showsThatItHasTheKeyboardAsDefault()
    {
        Form form(makeButton(u"OK"_s, nullptr));
        form.button->setDefault(true);
        const QImage with = form.pictureWithKeyboard();
        const QImage without = form.pictureWithoutKeyboard();
        QVERIFY(form.button->isDefault());
        QCOMPARE(whereTheyDiffer(with, without), form.button->rect().adjusted(3, 3, -3, -3));
    }

    void looksLikeAnyOtherOtherwise()
    {
        auto* other = new QPushButton(u"OK"_s);
        other->setAutoDefault(false);
        Form plain(other);
        Form form(makeButton(u"OK"_s, nullptr));
        QCOMPARE(form.pictureWithKeyboard(), plain.pictureWithKeyboard());
        QCOMPARE(form.pictureWithoutKeyboard(), plain.pictureWithoutKeyboard());
        form.button->setDefault(true);
        plain.button->setDefault(true);
        QCOMPARE(form.pictureWithoutKeyboard(), plain.pictureWithoutKeyboard());
    }
};

QTEST_MAIN(TestButtons)
#include "TestButtons.moc"
