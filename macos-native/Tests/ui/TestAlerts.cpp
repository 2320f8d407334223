#include "ui/Alerts.h"

#include "support/Warnings.h"

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
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>

#include <functional>
#include <type_traits>

using namespace Qt::StringLiterals;

/// Modal alerts and dialogs.
class TestAlerts final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        QGuiApplication::clipboard()->clear();
    }

    void anAlertSaysWhatItShould()
    {
        bool wasShown = false;
        whileAlertIsOpen(u"What happened.\nAnd why."_s, [&wasShown](QDialog& dialog) {
            wasShown = true;
            QVERIFY(dialog.isModal());
            QCOMPARE(dialog.windowTitle(), u"Title"_s);
            QCOMPARE(dialog.accessibleDescription(), u"What happened.\nAnd why."_s); // is read with the title
            QCOMPARE(dialog.findChild<QLabel*>(u"messageText"_s)->text(), u"Title"_s);
            QCOMPARE(informativeText(dialog)->toPlainText(), u"What happened.\nAnd why."_s);
            QCOMPARE(informativeText(dialog)->accessibleName(), u"What happened.\nAnd why."_s);
            QCOMPARE(dialog.findChildren<QPushButton*>().size(), 1);
            QVERIFY(button(dialog, u"OK"_s)->hasFocus());
        });
        QVERIFY(wasShown);
    }

    void anAlertGoesAway_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("Escape") << Qt::Key_Escape;
        QTest::newRow("Return") << Qt::Key_Return;
        QTest::newRow("Enter") << Qt::Key_Enter;
        QTest::newRow("the blank bar") << Qt::Key_Space;
    }

    void anAlertGoesAway()
    {
        QFETCH(Qt::Key, key);
        bool isOpen = true;
        whileAlertIsOpen(u"Text"_s, [key, &isOpen](QDialog& dialog) {
            QTest::keyClick(dialog.focusWidget(), key);
            isOpen = dialog.isVisible();
        });
        QVERIFY(!isOpen);
    }

    void aDialogAnswers_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<QString>("click");
        QTest::addColumn<DialogAnswer>("answer");

        QTest::newRow("Return accepts") << Qt::Key_Return << QString() << DialogAnswer::Accepted;
        QTest::newRow("Escape cancels") << Qt::Key_Escape << QString() << DialogAnswer::Cancelled;
        QTest::newRow("the first button accepts") << Qt::Key() << u"Save"_s << DialogAnswer::Accepted;
        QTest::newRow("the other cancels") << Qt::Key() << u"Cancel"_s << DialogAnswer::Cancelled;
    }

    void aDialogAnswers()
    {
        QFETCH(Qt::Key, key);
        QFETCH(QString, click);
        const DialogAnswer answer = ask(nullptr, [key, &click](QDialog& dialog) {
            if (click.isEmpty())
                QTest::keyClick(dialog.focusWidget(), key);
            else
                QTest::mouseClick(button(dialog, click), Qt::LeftButton);
            QVERIFY(!dialog.isVisible());
        });
        QTEST(answer, "answer");
    }

    void returnPressesTheButtonThatHasTheKeyboard()
    {
        const DialogAnswer answer = ask(nullptr, [](QDialog& dialog) {
            button(dialog, u"Cancel"_s)->setFocus();
            QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
            QVERIFY(!dialog.isVisible());
        });
        QCOMPARE(answer, DialogAnswer::Cancelled);
    }

    void theFirstButtonIsTheDefaultAndTheRightmost()
    {
        ask(nullptr, [](QDialog& dialog) {
            QVERIFY(button(dialog, u"Save"_s)->isDefault());
            QVERIFY(button(dialog, u"Save"_s)->x() > button(dialog, u"Cancel"_s)->x());
        });
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
            const QList<QWidget*> order{&field, button(dialog, u"Save"_s), button(dialog, u"Cancel"_s),
                                        informativeText(dialog)};
            QCOMPARE(reached, order);
        });
    }

    void everythingStandsInItsPlace()
    {
        QLineEdit field;
        ask(&field, [&field](QDialog& dialog) {
            const auto* message = dialog.findChild<QLabel*>(u"messageText"_s);
            QCOMPARE(QFontInfo(message->font()).pixelSize(), 15);
            QCOMPARE(message->font().weight(), QFont::Bold);
            const QPlainTextEdit* text = informativeText(dialog);
            const QPushButton* save = button(dialog, u"Save"_s);
            const QPushButton* cancel = button(dialog, u"Cancel"_s);
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

    void textIsPlain()
    {
        const QString markup = u"<h1>big</h1>&amp; <a href=\"x\">link</a>"_s;
        whileOpen(
            [&markup] {
                showAlert(nullptr, markup, markup);
                return true;
            },
            [&markup](QDialog& dialog) {
                QCOMPARE(dialog.findChild<QLabel*>(u"messageText"_s)->textFormat(), Qt::PlainText);
                QCOMPARE(informativeText(dialog)->toPlainText(), markup);
            });
    }

    void textCanBeSelectedAndCopied()
    {
        whileAlertIsOpen(u"one\ntwo"_s, [](QDialog& dialog) {
            QPlainTextEdit* text = informativeText(dialog);
            QVERIFY(text->isReadOnly());
            text->setFocus();
            QTest::keySequence(text, QKeySequence::SelectAll);
            QTest::keySequence(text, QKeySequence::Copy);
            QCOMPARE(QGuiApplication::clipboard()->text(), u"one\ntwo"_s);
            QTest::keyClick(text, Qt::Key_Return); // the default button's, not the text's
            QVERIFY(!dialog.isVisible());
        });
    }

    void aShortTextIsShownWholeWithoutAScrollBar()
    {
        whileAlertIsOpen(u"A sentence that takes more than one line of the alert, as they do. "_s.repeated(4),
                         [](QDialog& dialog) {
                             QPlainTextEdit* text = informativeText(dialog);
                             QVERIFY(!text->verticalScrollBar()->isVisible());
                             QCOMPARE(text->verticalScrollBar()->maximum(), 0);
                             QVERIFY(dialog.height() < 300);
                             text->setFixedHeight(text->height() - 1); // and takes no more than it needs
                             QVERIFY(text->verticalScrollBar()->maximum() > 0);
                         });
    }

    void aLongTextScrollsAndLeavesTheButtonInReach_data()
    {
        constexpr int twoMegabytes = 2 * 1024 * 1024;
        QTest::addColumn<QString>("text");

        const QString element = u"<div class=\"error\"><b>502</b> Bad Gateway</div>"_s;
        QTest::newRow("many lines of HTML") << (element + u'\n').repeated(twoMegabytes / 50);
        QTest::newRow("HTML in one line") << element.repeated(twoMegabytes / 50);
        QTest::newRow("one word") << u"x"_s.repeated(twoMegabytes);
        QTest::newRow("only line breaks") << u"\n"_s.repeated(20'000);
        QTest::newRow("carriage returns") << u"one\r\ntwo\r"_s.repeated(5'000);
    }

    void aLongTextScrollsAndLeavesTheButtonInReach()
    {
        QFETCH(QString, text);
        QElapsedTimer timer;
        timer.start();
        whileAlertIsOpen(text, [&timer](QDialog& dialog) {
            QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
            const QRect available = dialog.screen()->availableGeometry();
            QVERIFY(available.contains(dialog.frameGeometry()));
            const QPushButton* ok = button(dialog, u"OK"_s);
            QVERIFY(dialog.rect().contains(ok->geometry()));
            QVERIFY(informativeText(dialog)->geometry().bottom() < ok->geometry().top());
            QScrollBar* bar = informativeText(dialog)->verticalScrollBar();
            QVERIFY(bar->isVisible());
            bar->setValue(bar->maximum());
            QVERIFY(bar->value() > 100);
        });
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

    void aLineOfALongTextStaysWhenTheDialogIsMadeSmall()
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
            view->selectAll();
            view->copy();
            QCOMPARE(QGuiApplication::clipboard()->text(), text); // it is shown in pieces, but that is not in it

            QTextCursor cursor = view->textCursor();
            cursor.movePosition(QTextCursor::End);
            cursor.movePosition(QTextCursor::Left, QTextCursor::KeepAnchor, 13);
            view->setTextCursor(cursor);
            view->copy();
            QCOMPARE(QGuiApplication::clipboard()->text(), u"xx\n\nend of it"_s);
        });
    }

    void theAccessoryHasTheKeyboard()
    {
        QLineEdit field;
        ask(&field, [&field](QDialog& dialog) { QCOMPARE(dialog.focusWidget(), &field); });
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

    void returnInAFieldAccepts()
    {
        QLineEdit field;
        const DialogAnswer answer = ask(&field, [&field](QDialog& dialog) {
            QTest::keyClicks(&field, u"typed"_s);
            QTest::keyClick(&field, Qt::Key_Return);
            QVERIFY(!dialog.isVisible());
        });
        QCOMPARE(answer, DialogAnswer::Accepted);
        QCOMPARE(field.text(), u"typed"_s);
    }

    void theAccessoryCanBeReadAfterwards()
    {
        QLineEdit field;
        ask(&field, [&field](QDialog& dialog) {
            QVERIFY(dialog.isAncestorOf(&field));
            field.setText(u"kept"_s);
        });
        QCOMPARE(field.parent(), nullptr);
        QCOMPARE(field.text(), u"kept"_s);
        QVERIFY(!field.isVisible());
    }

    void staysOnTheScreenOfItsWindow()
    {
        QWidget window;
        const QRect available = window.screen()->availableGeometry();
        for (const QPoint corner : {available.topLeft() - QPoint(300, 300), available.bottomRight() - QPoint(30, 30)}) {
            window.setGeometry({corner, QSize(200, 100)});
            window.show();
            whileOpen(
                [&window] {
                    showAlert(&window, u"Title"_s, u"Text"_s);
                    return true;
                },
                [available, &window](QDialog& dialog) {
                    QCOMPARE(dialog.windowHandle()->transientParent(), window.windowHandle());
                    constexpr int border = 5; // drawn around it once it is shown
                    QVERIFY(available.adjusted(0, 0, border, border).contains(dialog.geometry()));
                });
        }
    }

    void outlivesTheWindowItBelongsTo()
    {
        auto window = std::make_unique<QWidget>();
        window->show();
        whileOpen(
            [&window] {
                showAlert(window.get(), u"Title"_s, u"Text"_s);
                return true;
            },
            [&window](QDialog& dialog) {
                window.reset();
                QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
                QVERIFY(!dialog.isVisible());
            });
    }

    void anAlertOverAnAlert()
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

    void quittingEndsIt()
    {
        QTimer::singleShot(0, qApp, [] {
            const DialogAnswer answer = whileOpen([] { return runDialog(nullptr, u"T"_s, u"t"_s, nullptr, u"Save"_s); },
                                                  [](QDialog& dialog) {
                                                      QCoreApplication::quit();
                                                      QTRY_VERIFY(!dialog.isVisible());
                                                  });
            QCOMPARE(answer, DialogAnswer::Cancelled);
        });
        QApplication::exec();
    }

private:
    /// What `question` answers while `act` is done to its dialog once it is shown.
    template <typename Question>
    static std::invoke_result_t<const Question&> whileOpen(const Question& question,
                                                           const std::function<void(QDialog&)>& act)
    {
        QTimer::singleShot(0, qApp, [&act] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!dialog)
                qFatal("no dialog is open");
            if (QTest::qWaitForWindowActive(dialog))
                act(*dialog);
            if (QApplication::activeModalWidget() == dialog)
                dialog->reject(); // a failed check must not leave it open
        });
        return question();
    }
    static void whileAlertIsOpen(const QString& text, const std::function<void(QDialog&)>& act)
    {
        whileOpen(
            [&text] {
                showAlert(nullptr, u"Title"_s, text);
                return true;
            },
            act);
    }
    static DialogAnswer ask(QWidget* accessory, const std::function<void(QDialog&)>& act)
    {
        return whileOpen([accessory] { return runDialog(nullptr, u"Title"_s, u"Text"_s, accessory, u"Save"_s); }, act);
    }
    static QPushButton* button(const QDialog& dialog, const QString& text)
    {
        for (QPushButton* candidate : dialog.findChildren<QPushButton*>()) {
            if (candidate->text() == text)
                return candidate;
        }
        qFatal("no such button");
    }
    static QPlainTextEdit* informativeText(const QDialog& dialog)
    {
        return dialog.findChild<QPlainTextEdit*>(u"informativeText"_s);
    }
};

QTEST_MAIN(TestAlerts)
#include "TestAlerts.moc"
