#include "ui/Alerts.h"

#include "support/CaseTable.h"
#include "support/Controls.h"
#include "support/DialogRobot.h"
#include "support/Slowness.h"
#include "support/TestCase.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDialog>
#include <QElapsedTimer>
#include <QFontInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>

#include <memory>

using namespace Qt::StringLiterals;

/// Modal alerts and dialogs.
class TestAlerts final : public TestCase
{
    Q_OBJECT

private slots:
    void anAlertShowsItsTextsAsPlainText()
    {
        const QString text = u"<h1>What</h1> happened.\nAnd &amp; <a href=\"x\">why</a>."_s;
        whileAlertIsOpen(text, [&text](QDialog& dialog) {
            QVERIFY(dialog.isModal());
            QCOMPARE(dialog.windowTitle(), u"Title"_s);
            QCOMPARE(dialog.accessibleDescription(), text); // assistive technology reads it with the title
            const auto* message = dialog.findChild<QLabel*>(u"messageText"_s);
            QCOMPARE(message->text(), u"Title"_s);
            QCOMPARE(message->textFormat(), Qt::PlainText);
            QCOMPARE(informativeText(dialog)->toPlainText(), text);
            QCOMPARE(informativeText(dialog)->accessibleName(), text);
            QCOMPARE(dialog.findChildren<QPushButton*>().size(), 1);
            QVERIFY(Controls::button(dialog, u"OK"_s)->hasFocus());
        });
    }

    void eachOfTheseKeysClosesAnAlert()
    {
        for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
            bool isOpen = true;
            whileAlertIsOpen(u"Text"_s, [key, &isOpen](QDialog& dialog) {
                DialogRobot::press(key)(dialog);
                isOpen = dialog.isVisible();
            });
            QVERIFY2(!isOpen, qPrintable(QKeySequence(key).toString()));
        }
    }

    void aDialogAnswers()
    {
        const auto pressReturnOnCancel = [](QDialog& dialog) {
            Controls::button(dialog, u"Cancel"_s)->setFocus();
            DialogRobot::press(Qt::Key_Return)(dialog);
        };
        const CaseTable<DialogRobot::Answer, DialogAnswer> cases{
            {"Return accepts", DialogRobot::press(Qt::Key_Return), DialogAnswer::Accepted},
            {"Escape cancels", DialogRobot::press(Qt::Key_Escape), DialogAnswer::Cancelled},
            {"the first button accepts", DialogRobot::press(u"Save"_s), DialogAnswer::Accepted},
            {"the other cancels", DialogRobot::press(u"Cancel"_s), DialogAnswer::Cancelled},
            {"Return presses the button that has the keyboard", pressReturnOnCancel, DialogAnswer::Cancelled},
        };
        for (const auto& [act, expected] : cases) {
            const DialogAnswer answer = ask(nullptr, [act = act](QDialog& dialog) {
                act(dialog);
                QVERIFY(!dialog.isVisible());
            });
            QCOMPARE(answer, expected);
        }
    }

    void everythingIsReachedByTab()
    {
        QLineEdit field;
        ask(&field, [&field](QDialog& dialog) {
            QList<QWidget*> reached;
            for (int i = 0; i < 4; ++i) {
                reached.append(dialog.focusWidget());
                QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
            }
            const QList<QWidget*> order{&field, Controls::button(dialog, u"Save"_s),
                                        Controls::button(dialog, u"Cancel"_s), informativeText(dialog)};
            QCOMPARE(reached, order);
        });
    }

    void everythingIsInItsPlace()
    {
        QLineEdit field;
        ask(&field, [&field](QDialog& dialog) {
            const auto* message = dialog.findChild<QLabel*>(u"messageText"_s);
            QCOMPARE(QFontInfo(message->font()).pixelSize(), 15);
            QCOMPARE(message->font().weight(), QFont::Bold);
            const QPlainTextEdit* text = informativeText(dialog);
            QVERIFY(!text->viewport()->autoFillBackground()); // it looks like a label
            const QPushButton* save = Controls::button(dialog, u"Save"_s);
            const QPushButton* cancel = Controls::button(dialog, u"Cancel"_s);
            QVERIFY(save->isDefault());
            QCOMPARE(dialog.width(), 20 + 420 + 20);
            QCOMPARE(message->geometry(), QRect(20, 20, 420, message->sizeHint().height()));
            QCOMPARE(text->geometry(),
                     QRect(20, message->geometry().bottom() + 1 + 12, 420, text->sizeHint().height()));
            QCOMPARE(field.pos(), QPoint(20, text->geometry().bottom() + 1 + 12));
            QCOMPARE(field.width(), field.sizeHint().width());
            QCOMPARE(save->y(), field.geometry().bottom() + 1 + 12);
            QCOMPARE(save->size(), save->sizeHint());
            QCOMPARE(save->geometry().bottomRight(), dialog.rect().bottomRight() - QPoint(20, 20));
            QCOMPARE(cancel->size(), cancel->sizeHint());
            QVERIFY(cancel->geometry().right() < save->x());
        });
    }

    void aShortTextIsShownWholeWithoutAScrollBar()
    {
        whileAlertIsOpen(u"A sentence, and a name that takes more than one line: "_s + u"name"_s.repeated(60),
                         [](QDialog& dialog) {
                             QPlainTextEdit* text = informativeText(dialog);
                             QVERIFY(!text->verticalScrollBar()->isVisible());
                             QCOMPARE(text->verticalScrollBar()->maximum(), 0);
                             QVERIFY(dialog.height() < 300);
                             text->setFixedHeight(text->height() - 1); // one pixel less is too little
                             QVERIFY(text->verticalScrollBar()->maximum() > 0);
                         });
    }

    void aLongTextScrollsAndLeavesTheButtonInReach()
    {
        constexpr int twoMegabytes = 2 * 1024 * 1024;
        const QString element = u"<div class=\"error\"><b>502</b> Bad Gateway</div>"_s;
        const CaseTable<QString> cases{
            {"many lines of HTML", (element + u'\n').repeated(twoMegabytes / 50)},
            {"HTML in one line", element.repeated(twoMegabytes / 50)},
            {"one word", u"x"_s.repeated(twoMegabytes)},
            {"only line breaks", u"\n"_s.repeated(20'000)},
            {"carriage returns", u"one\r\ntwo\r"_s.repeated(5'000)},
        };
        for (const auto& [text] : cases) {
            QElapsedTimer timer;
            timer.start();
            whileAlertIsOpen(text, [&timer](QDialog& dialog) {
                QVERIFY2(timer.elapsed() < 5000 * slowness, qPrintable(QString::number(timer.elapsed())));
                const QRect available = dialog.screen()->availableGeometry();
                QVERIFY(available.contains(dialog.frameGeometry()));
                const QPushButton* ok = Controls::button(dialog, u"OK"_s);
                QVERIFY(dialog.rect().contains(ok->geometry()));
                QVERIFY(informativeText(dialog)->geometry().bottom() < ok->geometry().top());
                QScrollBar* bar = informativeText(dialog)->verticalScrollBar();
                QVERIFY(bar->isVisible());
                bar->setValue(bar->maximum());
                QVERIFY(bar->value() > 100);
            });
        }
    }

    void aTextThatWouldFillTheScreenTakesHalfOfIt()
    {
        const int screenHeight = QGuiApplication::primaryScreen()->availableGeometry().height();
        const int lines = screenHeight / QFontMetrics(QApplication::font()).lineSpacing();
        whileAlertIsOpen(u"line\n"_s.repeated(lines), [screenHeight](QDialog& dialog) {
            const QPlainTextEdit* text = informativeText(dialog);
            QVERIFY(text->verticalScrollBar()->isVisible());
            QVERIFY(text->height() <= screenHeight / 2);
            QVERIFY(text->height() > screenHeight / 3);
        });
    }

    void oneLineOfALongTextStaysVisibleInASmallDialog()
    {
        whileAlertIsOpen(u"line\n"_s.repeated(20), [](QDialog& dialog) {
            const QPlainTextEdit* text = informativeText(dialog);
            dialog.resize(1, 1);
            QCOMPARE(text->height(), text->fontMetrics().height());
            QTRY_VERIFY(text->verticalScrollBar()->isVisible());
            QVERIFY(dialog.width() < text->sizeHint().width());
        });
    }

    void copyingALongTextKeepsItsLines()
    {
        const QString text = u"x"_s.repeated(100'000) + u"\n\nend of it"_s;
        whileAlertIsOpen(text, [&text](QDialog& dialog) {
            QPlainTextEdit* view = informativeText(dialog);
            QVERIFY(view->isReadOnly());
            QGuiApplication::clipboard()->clear();
            view->setFocus();
            QTest::keySequence(view, QKeySequence::SelectAll);
            QTest::keySequence(view, QKeySequence::Copy);
            QCOMPARE(QGuiApplication::clipboard()->text(), text); // the pieces in which it is shown leave no trace

            QTextCursor cursor = view->textCursor();
            cursor.movePosition(QTextCursor::End);
            cursor.movePosition(QTextCursor::Left, QTextCursor::KeepAnchor, 13);
            view->setTextCursor(cursor);
            view->copy();
            QCOMPARE(QGuiApplication::clipboard()->text(), u"xx\n\nend of it"_s);
            QTest::keyClick(view, Qt::Key_Return); // presses the default button
            QVERIFY(!dialog.isVisible());
        });
    }

    void theFirstFieldOfAFormHasTheKeyboard()
    {
        QWidget form;
        auto* column = new QVBoxLayout(&form);
        auto* caption = new QLabel(u"Caption"_s);
        auto* first = new QComboBox;
        column->addWidget(caption);
        column->addWidget(first);
        column->addWidget(new QLineEdit);
        ask(&form, [first](QDialog& dialog) { QCOMPARE(dialog.focusWidget(), first); });

        QLabel nothingToFill(u"Picture"_s);
        ask(&nothingToFill, [](QDialog& dialog) { QVERIFY(dialog.focusWidget()); });
    }

    void returnInAFieldAcceptsAndTheFieldKeepsItsText()
    {
        QLineEdit field;
        const DialogAnswer answer = ask(&field, [&field](QDialog& dialog) {
            QVERIFY(dialog.isAncestorOf(&field));
            QTest::keyClicks(&field, u"typed"_s);
            QTest::keyClick(&field, Qt::Key_Return);
            QVERIFY(!dialog.isVisible());
        });
        QCOMPARE(answer, DialogAnswer::Accepted);
        QCOMPARE(field.parent(), nullptr);
        QCOMPARE(field.text(), u"typed"_s);
        QVERIFY(!field.isVisible());
    }

    void staysOnTheScreenOfItsWindow()
    {
        QWidget window;
        const QRect available = window.screen()->availableGeometry();
        const QPoint middle = available.center();
        for (const QPoint corner :
             {available.topLeft() - QPoint(300, 300), middle, available.bottomRight() - QPoint(30, 30)}) {
            window.setGeometry({corner, QSize(200, 100)});
            window.show();
            const DialogRobot robot({[=, &window](QDialog& dialog) {
                QCOMPARE(dialog.windowHandle()->transientParent(), window.windowHandle());
                constexpr int border = 5; // the dialog gets a border when it is shown
                QVERIFY(available.adjusted(0, 0, border, border).contains(dialog.geometry()));
                const QPoint apart = dialog.geometry().center() - window.frameGeometry().center();
                QVERIFY(corner != middle || apart.manhattanLength() <= 2 * border);
            }});
            showAlert(&window, u"Title"_s, u"Text"_s);
            QCOMPARE(robot.shown().size(), std::size_t(1));
        }
    }

    void staysOpenWhenItsWindowIsDeleted()
    {
        auto window = std::make_unique<QWidget>();
        window->show();
        const DialogRobot robot({[&window](QDialog& dialog) {
            window.reset();
            DialogRobot::press(Qt::Key_Return)(dialog);
            QVERIFY(!dialog.isVisible());
        }});
        showAlert(window.get(), u"Title"_s, u"Text"_s);
        QVERIFY(!window);
    }

    void anAlertOpensOverAnAlert()
    {
        QStringList closed;
        whileAlertIsOpen(u"first"_s, [&closed](QDialog& first) {
            whileAlertIsOpen(u"second"_s, [&closed](QDialog& second) {
                QTest::keyClick(second.focusWidget(), Qt::Key_Escape);
                closed.append(u"second"_s);
            });
            QVERIFY(first.isVisible());
            QTest::keyClick(first.focusWidget(), Qt::Key_Escape);
            closed.append(u"first"_s);
        });
        QCOMPARE(closed, (QStringList{u"second"_s, u"first"_s}));
    }

    void quittingClosesADialog()
    {
        QTimer::singleShot(0, qApp, [] {
            const DialogAnswer answer = ask(nullptr, [](QDialog& dialog) {
                QCoreApplication::quit();
                QTRY_VERIFY(!dialog.isVisible());
            });
            QCOMPARE(answer, DialogAnswer::Cancelled);
        });
        QApplication::exec();
    }

private:
    static void whileAlertIsOpen(const QString& text, const DialogRobot::Answer& act)
    {
        const DialogRobot robot({act});
        showAlert(nullptr, u"Title"_s, text);
        QCOMPARE(robot.shown().size(), 1U);
    }
    /// Opens a dialog, carries out `act`, and returns the answer of the dialog.
    static DialogAnswer ask(QWidget* accessory, const DialogRobot::Answer& act)
    {
        const DialogRobot robot({act});
        const DialogAnswer answer = runDialog(nullptr, u"Title"_s, u"Text"_s, accessory, u"Save"_s);
        if (robot.shown().size() != 1)
            QTest::qFail("no dialog was open", __FILE__, __LINE__);
        return answer;
    }
    static QPlainTextEdit* informativeText(const QDialog& dialog)
    {
        return dialog.findChild<QPlainTextEdit*>(u"informativeText"_s);
    }
};

QTEST_MAIN(TestAlerts)
#include "TestAlerts.moc"
