#include "ui/Buttons.h"

#include "support/TestCase.h"

#include <QDialog>
#include <QLineEdit>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

/// A dialog with a button and a field that can have the focus, too.
struct Form
{
    explicit Form(QPushButton* theButton) : button(theButton)
    {
        auto* column = new QVBoxLayout(&dialog);
        column->addWidget(button);
        column->addWidget(field);
        dialog.show();
    }

    QImage pictureWithFocus()
    {
        focusField();
        QTest::keyClick(field, Qt::Key_Tab); // some styles draw the focus only after a key
        return button->grab().toImage();
    }

    QImage pictureWithoutFocus()
    {
        focusField();
        return button->grab().toImage();
    }

    void focusField()
    {
        dialog.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        field->setFocus();
    }

    QDialog dialog;
    QPushButton* button;
    QLineEdit* field = new QLineEdit;
};

} // namespace

/// Push buttons.
class TestButtons final : public TestCase
{
    Q_OBJECT

private slots:
    void showsItsTitleWithoutAMnemonic()
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

    void isNotTheDefaultOfItsDialogByItself()
    {
        const Form form(makeButton(u"Close"_s, nullptr));
        QTest::keyClick(form.field, Qt::Key_Return);
        QVERIFY(form.dialog.isVisible());
        QVERIFY(!form.button->isDefault());
    }

    void looksLikeAnyOtherUnlessItHasTheFocusAsDefault()
    {
        auto* other = new QPushButton(u"OK"_s);
        other->setAutoDefault(false);
        Form plain(other);
        Form form(makeButton(u"OK"_s, nullptr));
        QCOMPARE(form.pictureWithFocus(), plain.pictureWithFocus());
        QCOMPARE(form.pictureWithoutFocus(), plain.pictureWithoutFocus());
        form.button->setDefault(true);
        plain.button->setDefault(true);
        QCOMPARE(form.pictureWithoutFocus(), plain.pictureWithoutFocus());
        const auto edge = [](const QImage& picture) { return picture.copy(0, 0, picture.width(), 3); };
        QCOMPARE(edge(form.pictureWithFocus()), edge(plain.pictureWithFocus()));
        QVERIFY(form.pictureWithFocus() != plain.pictureWithFocus());
    }
};

QTEST_MAIN(TestButtons)
#include "TestButtons.moc"
