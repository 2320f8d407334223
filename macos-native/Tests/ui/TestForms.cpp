#include "shell/primitives/ScrollingForm.h"
#include "ui/Forms.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"
#include "ui/Labels.h"
#include "ui/PopUpButton.h"

#include <QAccessible>
#include <QFontInfo>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr FormRowMetrics metrics{.labelWidth = 140, .spacing = 12};

/// A window with one row.
struct RowWindow
{
    explicit RowWindow(QWidget* field, FormRowMetrics rowMetrics = metrics, const QString& label = u"Name"_s)
    {
        field->setParent(&window);
        window.setLayout(formRow(label, field, rowMetrics));
        window.layout()->setContentsMargins({});
    }

    void show(int width)
    {
        window.resize(width, 200);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
    }

    Label* label() const { return window.findChild<Label*>(); }

    QWidget window;
};

/// A form of many fields in a view that is too low for them, with a field above it.
struct TallForm
{
    TallForm()
    {
        auto* outer = new QVBoxLayout(&window);
        above = new QLineEdit(&window);
        form = new ScrollingForm(&window);
        outer->addWidget(above);
        outer->addWidget(form);
        auto* column = new QVBoxLayout(form->documentView());
        for (int row = 0; row < 30; ++row) {
            fields.append(new QLineEdit(form->documentView()));
            column->addLayout(formRow(QString::number(row), fields.last(), metrics));
        }
        window.resize(500, 300);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        above->setFocus();
    }

    bool shows(const QWidget* field) const
    {
        const QRect frame(field->mapTo(form->viewport(), QPoint()), field->size());
        return form->viewport()->rect().contains(frame);
    }
    int position() const { return form->verticalScrollBar()->value(); }

    QWidget window;
    QLineEdit* above = nullptr;
    ScrollingForm* form = nullptr;
    QList<QLineEdit*> fields;
};

} // namespace

/// The rows of forms, and the view that scrolls them.
class TestForms final : public TestCase
{
    Q_OBJECT

private slots:
    void theLabelOfARowHasTheGivenWidthAndIsRightAligned()
    {
        const CaseTable<int, int, QString> cases{
            {"a short label", 140, 12, u"Mode"_s},
            {"other measures", 72, 8, u"ID"_s},
            {"a label that is too long", 160, 8, QString(300, u'W')},
            {"no label", 72, 8, {}},
        };
        for (const auto& [labelWidth, spacing, text] : cases) {
            RowWindow row(new QLineEdit, {.labelWidth = labelWidth, .spacing = spacing}, text);
            row.show(600);
            QCOMPARE(row.label()->text(), text);
            QCOMPARE(row.label()->x(), 0);
            QCOMPARE(row.label()->width(), labelWidth);
            QCOMPARE(QFontInfo(row.label()->font()).pixelSize(), 13);
            QCOMPARE(row.label()->alignment(), Qt::AlignRight | Qt::AlignVCenter);
            QCOMPARE(row.window.findChild<QLineEdit*>()->x(), labelWidth + spacing);
            QCOMPARE(row.window.width(), 600);
        }
    }

    void aRowCanHaveAnExistingLabel()
    {
        QWidget window;
        auto* label = new Label(u"API Key"_s, &window);
        auto* field = new QLineEdit(&window);
        window.setLayout(formRow(label, field, metrics));
        QCOMPARE(label->buddy(), field);
        QCOMPARE(label->width(), 140);
        QCOMPARE(window.findChildren<QLabel*>().size(), 1);
        QCOMPARE(QAccessible::queryAccessibleInterface(field)->text(QAccessible::Name), u"API Key"_s);
    }

    void aFieldTakesATextOfAnyLength()
    {
        QWidget parent;
        QLineEdit* field = makeField(u"Token"_s, &parent);
        QCOMPARE(field->placeholderText(), u"Token"_s);
        QCOMPARE(field->parentWidget(), &parent);
        field->setText(QString(100'000, u'x'));
        QCOMPARE(field->text().size(), 100'000);
    }

    void aFieldGrowsWithItsForm()
    {
        auto* field = new QLineEdit;
        RowWindow row(field);
        QCOMPARE(row.window.minimumSizeHint().width(), 140 + 12 + 220);
        for (const int width : {220, 748}) {
            row.show(140 + 12 + width);
            QTRY_COMPARE(field->width(), width);
        }
    }

    void aPopUpIsAsWideAsItsTitleWithinItsForm()
    {
        for (const int letters : {5, 40, 5'000}) {
            auto* popup = new PopUpButton;
            RowWindow row(popup);
            row.show(900);
            popup->addItem(QString(letters, u'W'));
            QTRY_COMPARE(popup->width(), std::clamp(popup->sizeHint().width(), 220, 900 - 140 - 12));
            QCOMPARE(popup->x(), 140 + 12);
            QVERIFY(qAbs(row.label()->geometry().center().y() - popup->geometry().center().y()) <= 1);
            QCOMPARE(row.window.minimumSizeHint().width(), 140 + 12 + 220);
            QCOMPARE(row.window.width(), 900);
        }
    }

    void headersAndSeparatorsDivideAForm()
    {
        QWidget parent;
        const Label* header = makeSectionHeader(u"Chat"_s, &parent);
        QCOMPARE(header->text(), u"Chat"_s);
        QCOMPARE(QFontInfo(header->font()).pixelSize(), 15);
        QCOMPARE(header->font().weight(), QFont::DemiBold);
        const QFrame* separator = makeSeparator(&parent);
        QCOMPARE(separator->frameShape(), QFrame::HLine);
        QCOMPARE(separator->frameShadow(), QFrame::Plain);
        QCOMPARE(separator->foregroundRole(), QPalette::Mid);
    }

    void aFormFillsItsView()
    {
        ScrollingForm form;
        QCOMPARE(form.focusPolicy(), Qt::NoFocus); // only its fields get the keyboard focus
        QVERIFY(!form.viewport()->autoFillBackground() && !form.documentView()->autoFillBackground());
        form.resize(500, 300);
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        QCOMPARE(form.documentView()->geometry(), QRect(0, 0, 500, 300));
        QVERIFY(!form.verticalScrollBar()->isVisible());
        QVERIFY(!form.horizontalScrollBar()->isVisible());
    }

    void aFormScrollsWhenItIsHigherThanItsView()
    {
        const TallForm tall;
        QVERIFY(tall.form->verticalScrollBar()->isVisible());
        QVERIFY(!tall.form->horizontalScrollBar()->isVisible());
        QCOMPARE(tall.form->documentView()->width(), tall.form->viewport()->width());
        QVERIFY(!tall.shows(tall.fields.last()));
        tall.form->verticalScrollBar()->setValue(tall.form->verticalScrollBar()->maximum());
        QVERIFY(tall.shows(tall.fields.last()));
    }

    void aFormFollowsTheKeyboard()
    {
        const TallForm tall;
        for (const QLineEdit* field : tall.fields) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QCOMPARE(QApplication::focusWidget(), field);
            QVERIFY(tall.shows(field));
        }
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), tall.above);
        tall.form->verticalScrollBar()->setValue(0);

        for (qsizetype i = tall.fields.size() - 1; i >= 0; --i) { // the first Backtab comes from outside the form
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
            QCOMPARE(QApplication::focusWidget(), tall.fields.at(i));
            QVERIFY(tall.shows(tall.fields.at(i)));
        }
    }

    void aClickDoesNotScrollAForm()
    {
        const TallForm tall;
        QLineEdit* field = tall.fields.first();
        tall.form->verticalScrollBar()->setValue(field->geometry().center().y()); // the view's edge cuts the field
        const int position = tall.position();
        const QPoint lowerPart = field->mapTo(&tall.window, field->rect().center() + QPoint(0, 4));
        QTest::mousePress(tall.window.windowHandle(), Qt::LeftButton, {}, lowerPart);
        QCOMPARE(QApplication::focusWidget(), field);
        QCOMPARE(tall.position(), position);
        QTest::mouseRelease(tall.window.windowHandle(), Qt::LeftButton, {}, lowerPart);
    }

    void focusOutsideOfTheFormScrollsNothing()
    {
        const TallForm tall;
        tall.fields.first()->setFocus();
        tall.form->verticalScrollBar()->setValue(200);
        tall.above->setFocus();
        QCOMPARE(tall.position(), 200);
        tall.above->clearFocus();
        QCOMPARE(tall.position(), 200);
    }

    void aFormCanBeDeletedWhileOneOfItsFieldsHasTheFocus()
    {
        QWidget window;
        auto* form = new ScrollingForm(&window);
        auto* field = new QLineEdit(form->documentView());
        window.show();
        window.activateWindow();
        field->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), field);
        delete form; // a sanitizer reports a call of the deleted form
        QCOMPARE(QApplication::focusWidget(), nullptr);
    }

    void theBackgroundShowsThrough()
    {
        QWidget window;
        window.setPalette(QPalette(QColor(10, 200, 30)));
        auto* layout = new QVBoxLayout(&window);
        layout->setContentsMargins({});
        layout->addWidget(new ScrollingForm(&window));
        window.resize(200, 200);
        window.findChild<NeloFlippedView*>()->setPalette(QPalette(Qt::red));
        QCOMPARE(window.grab().toImage().pixelColor(100, 100), QColor(10, 200, 30));
    }
};

QTEST_MAIN(TestForms)
#include "TestForms.moc"
