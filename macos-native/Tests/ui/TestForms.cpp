#include "shell/primitives/ScrollingForm.h"
#include "ui/Forms.h"

#include "shell/primitives/NeloFlippedView.h"
#include "support/CaseTable.h"
#include "support/Warnings.h"
#include "ui/Labels.h"
#include "ui/PopUpButton.h"

#include <QAccessible>
#include <QFontInfo>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr FormRowMetrics metrics{.labelWidth = 140, .spacing = 12};

/// A window with one row; what the row's widgets are is read from it.
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
class TestForms final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aRowsLabelIsAsWideAsToldAndRightAligned()
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

    void aRowsLabelIsPlainTextAndTheBuddyOfItsField()
    {
        auto* field = new PopUpButton;
        RowWindow row(field, metrics, u"<b>TOKEN</b>"_s);
        QCOMPARE(row.label()->textFormat(), Qt::PlainText);
        QCOMPARE(row.label()->buddy(), field);
        row.show(600);
        QVERIFY(qAbs(row.label()->geometry().center().y() - field->geometry().center().y()) <= 1);
    }

    void aRowTakesALabelThatIsThereAlready()
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

    void aFieldGrowsWithTheFormFrom220Up()
    {
        auto* field = new QLineEdit;
        RowWindow row(field);
        QCOMPARE(row.window.minimumSizeHint().width(), 140 + 12 + 220);
        row.show(140 + 12 + 220);
        QCOMPARE(field->width(), 220);
        row.window.resize(900, 200);
        QTRY_COMPARE(field->width(), 900 - 140 - 12);
    }

    void aPopUpKeepsItsNaturalWidthFrom220Up()
    {
        auto* popup = new PopUpButton;
        popup->addItem(u"local"_s);
        RowWindow row(popup);
        row.show(900);
        QCOMPARE(popup->width(), 220);
        QCOMPARE(popup->x(), 140 + 12);

        popup->addItem(QString(40, u'W'));
        QVERIFY(popup->sizeHint().width() > 220);
        QTRY_COMPARE(popup->width(), popup->sizeHint().width());
    }

    void aPopUpGivesWayToANarrowForm()
    {
        auto* popup = new PopUpButton;
        popup->addItem(QString(5'000, u'W'));
        RowWindow row(popup);
        QCOMPARE(row.window.minimumSizeHint().width(), 140 + 12 + 220);
        row.show(500);
        QCOMPARE(row.window.width(), 500);
        QCOMPARE(popup->width(), 500 - 140 - 12);
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

    void aFormFillsItsViewFromTheTop()
    {
        ScrollingForm form;
        QCOMPARE(form.focusPolicy(), Qt::NoFocus); // only what is in it gets the keyboard
        auto* column = new QVBoxLayout(form.documentView());
        column->setContentsMargins({});
        auto* field = new QLineEdit(form.documentView());
        column->addWidget(field);
        column->addStretch();
        form.resize(500, 300);
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        QCOMPARE(form.documentView()->geometry(), QRect(0, 0, 500, 300));
        QCOMPARE(field->geometry().topLeft(), QPoint(0, 0));
        QCOMPARE(field->width(), 500);
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

        for (qsizetype i = tall.fields.size() - 1; i >= 0; --i) { // the first of these comes from outside the form
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
            QCOMPARE(QApplication::focusWidget(), tall.fields.at(i));
            QVERIFY(tall.shows(tall.fields.at(i)));
        }
    }

    void aFormStaysUnderAClick()
    {
        const TallForm tall;
        const QLineEdit* cut = nullptr; // by the lower edge of the view
        for (const QLineEdit* field : tall.fields) {
            const int top = field->mapTo(tall.form->viewport(), QPoint()).y();
            if (!cut && top + field->height() > tall.form->viewport()->height())
                cut = field;
        }
        QVERIFY(cut);
        tall.form->verticalScrollBar()->setValue(10);
        QTest::mousePress(tall.window.windowHandle(), Qt::LeftButton, {}, cut->mapTo(&tall.window, QPoint(20, 2)));
        QCOMPARE(QApplication::focusWidget(), cut);
        QCOMPARE(tall.position(), 10);
        QTest::mouseRelease(tall.window.windowHandle(), Qt::LeftButton, {}, cut->mapTo(&tall.window, QPoint(20, 2)));
    }

    void focusElsewhereScrollsNothing()
    {
        const TallForm tall;
        tall.fields.first()->setFocus();
        tall.form->verticalScrollBar()->setValue(200);
        tall.above->setFocus();
        QCOMPARE(tall.position(), 200);
        tall.above->clearFocus();
        QCOMPARE(tall.position(), 200);
    }

    void aFormMayGoWhileOneOfItsFieldsHasTheKeyboard()
    {
        QWidget window;
        auto* form = new ScrollingForm(&window);
        auto* field = new QLineEdit(form->documentView());
        window.show();
        window.activateWindow();
        field->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), field);
        delete form; // a sanitizer sees what is still called of it
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
        QCOMPARE(window.grab().toImage().pixelColor(100, 100), QColor(10, 200, 30));

        window.setPalette(QPalette(Qt::white));
        window.setAutoFillBackground(true);
        QPalette background = window.palette();
        background.setBrush(QPalette::Window, QColor(1, 2, 3));
        window.setPalette(background);
        window.findChild<NeloFlippedView*>()->setPalette(QPalette(Qt::red));
        QCOMPARE(window.grab().toImage().pixelColor(100, 100), QColor(1, 2, 3));
    }
};

QTEST_MAIN(TestForms)
#include "TestForms.moc"
