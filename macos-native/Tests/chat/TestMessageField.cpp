#include "chat/MessageField.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

/// The one-line input: line breaks, undoing, and input methods.
class TestMessageField final : public TestCase
{
    Q_OBJECT

private slots:
    void lineBreaksBecomeBlanksAndCanBeUndone()
    {
        const QString document = u"a line of it\n"_s.repeated(20'000);
        const CaseTable<void (*)(QWidget&, const QString&), QString, QString> cases{
            {"a line feed", paste, u"one\ntwo"_s, u"one two"_s},
            {"a carriage return", paste, u"one\rtwo"_s, u"one two"_s},
            {"both are one", paste, u"one\r\ntwo"_s, u"one two"_s},
            {"Unicode's own", paste, u"one\u2028two\u2029three"_s, u"one two three"_s},
            {"a vertical tabulator and a form feed", paste, u"one\vtwo\fthree"_s, u"one two three"_s},
            {"the next-line control", paste, u"one\u0085two"_s, u"one two"_s},
            {"an empty line is two", paste, u"one\n\ntwo"_s, u"one  two"_s},
            {"at the end", paste, u"one\n"_s, u"one "_s},
            {"a tabulator stays", paste, u"one\ttwo"_s, u"one\ttwo"_s},
            {"pasted from the menu", pasteFromMenu, u"one\ntwo"_s, u"one two"_s},
            {"dropped", drop, u"one\r\ntwo"_s, u"one two"_s},
            {"from an input method", commit, u"one\ntwo"_s, u"one two"_s},
            {"a long document", paste, document, QString(document).replace(u'\n', u' ')},
        };
        for (const auto& [enter, entered, text] : cases) {
            MessageField field;
            field.setAttribute(Qt::WA_DontShowOnScreen);
            field.show();
            enter(field, entered);
            QCOMPARE(field.text(), text);
            field.clear();
            QTest::keyClicks(&field, u"typed"_s);
            field.selectAll();
            enter(field, entered);
            QVERIFY(field.text() != u"typed"_s);
            field.undo();
            QCOMPARE(field.text(), u"typed"_s);
        }
    }

    void aPastedTextIsOneUndoStep()
    {
        MessageField field;
        QTest::keyClicks(&field, u"a z"_s);
        field.setCursorPosition(2);
        paste(field, u"b\r\n"_s);
        QCOMPARE(field.cursorPosition(), 4);
        QTest::keyClicks(&field, u"c"_s);
        field.end(false);
        QTest::keyClicks(&field, u"1"_s);
        paste(field, u"2"_s);
        QStringList texts{field.text()};
        while (field.isUndoAvailable()) {
            field.undo();
            texts.append(field.text());
        }
        QCOMPARE(texts, (QStringList{u"a b cz12"_s, u"a b cz1"_s, u"a b cz"_s, u"a b z"_s, u"a z"_s, QString()}));
    }

    void copyWithoutASelectionGoesToTheParent()
    {
        MessageField field;
        const QKeyCombination copy = QKeySequence(QKeySequence::Copy)[0];
        const auto isTaken = [&field, copy] {
            QKeyEvent event(QEvent::KeyPress, copy.key(), copy.keyboardModifiers());
            QCoreApplication::sendEvent(&field, &event);
            return event.isAccepted();
        };
        field.setText(u"text"_s);
        QVERIFY(!isTaken());
        field.selectAll();
        QVERIFY(isTaken());
        QCOMPARE(QGuiApplication::clipboard()->text(), u"text"_s);
    }

    void returnIsReportedUnlessItEndsAComposition()
    {
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
            MessageField field;
            const QSignalSpy returned(&field, &QLineEdit::returnPressed);
            compose(field, u"ni"_s);
            QTest::keyClick(&field, key);
            QCOMPARE(returned.size(), 0);
            QCOMPARE(field.text(), u"ni"_s);

            compose(field, u"hao"_s);
            compose(field, QString(), u"好"_s);
            QCOMPARE(field.text(), u"ni好"_s);
            QTest::keyClick(&field, key);
            QCOMPARE(returned.size(), 1);      // the composition has ended
            QCOMPARE(field.text(), u"ni好"_s); // Return types no line break
        }
    }

    void aCompositionIsCommittedOnRequestAndOnce()
    {
        MessageField field;
        field.commitComposition();
        QCOMPARE(field.text(), QString());
        field.setText(u"你"_s);
        compose(field, u"hao"_s);
        QCOMPARE(field.text(), u"你"_s);
        field.commitComposition();
        field.commitComposition();
        QCOMPARE(field.text(), u"你hao"_s);
        compose(field, u"x"_s);
        compose(field, QString()); // the composition is cancelled
        field.commitComposition();
        QCOMPARE(field.text(), u"你hao"_s);
    }

private:
    /// Sends what an input method sends while "ni" becomes 你.
    static void compose(QWidget& field, const QString& preedit, const QString& commit = QString())
    {
        QInputMethodEvent event(preedit, {});
        event.setCommitString(commit);
        QCoreApplication::sendEvent(&field, &event);
    }

    static void pasteFromMenu(QWidget& field, const QString& text)
    {
        QGuiApplication::clipboard()->setText(text);
        QContextMenuEvent event(QContextMenuEvent::Mouse, {5, 5}, field.mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(&field, &event);
        const QPointer<QMenu> menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        for (QAction* action : menu->actions()) {
            if (action->text().startsWith(u"&Paste"))
                action->trigger();
        }
        menu->close();
        QTRY_VERIFY(!menu);
    }

    static void drop(QWidget& field, const QString& text)
    {
        QMimeData dropped;
        dropped.setText(text);
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, {});
        QCoreApplication::sendEvent(&field, &enter);
        QDropEvent event({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, {});
        QCoreApplication::sendEvent(&field, &event);
        QVERIFY(event.isAccepted());
    }

    static void commit(QWidget& field, const QString& text) { compose(field, QString(), text); }

    static void paste(QWidget& field, const QString& text)
    {
        QGuiApplication::clipboard()->setText(text);
        QTest::keySequence(&field, QKeySequence::Paste);
    }
};

QTEST_MAIN(TestMessageField)
#include "TestMessageField.moc"
