#include "chat/MessageField.h"

#include "support/Cases.h"
#include "support/TestCase.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QMenu>
#include <QMimeData>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

enum class Way { Key, Menu, Drop, InputMethod };

/// What an input method says while "ni" becomes 你.
void compose(QWidget& field, const QString& preedit, const QString& commit = QString())
{
    QInputMethodEvent event(preedit, {});
    event.setCommitString(commit);
    QCoreApplication::sendEvent(&field, &event);
}

void pasteFromMenu(QWidget& field)
{
    QContextMenuEvent event(QContextMenuEvent::Mouse, {5, 5}, field.mapToGlobal(QPoint(5, 5)));
    QCoreApplication::sendEvent(&field, &event);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    QVERIFY(menu);
    for (QAction* action : menu->actions()) {
        if (action->text().startsWith(u"&Paste"))
            action->trigger();
    }
    menu->close();
}

void drop(QWidget& field, const QString& text)
{
    QMimeData dropped;
    dropped.setText(text);
    QDragEnterEvent enter({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, {});
    QCoreApplication::sendEvent(&field, &enter);
    QDropEvent event({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, {});
    QCoreApplication::sendEvent(&field, &event);
    QVERIFY(event.isAccepted());
}

void enter(MessageField& field, const QString& text, Way way)
{
    QGuiApplication::clipboard()->setText(text);
    switch (way) {
    case Way::Key:
        return QTest::keySequence(&field, QKeySequence::Paste);
    case Way::Menu:
        return pasteFromMenu(field);
    case Way::Drop:
        return drop(field, text);
    case Way::InputMethod:
        return compose(field, QString(), text);
    }
}

} // namespace

/// The one-line input: line breaks, undoing, and input methods.
class TestMessageField final : public TestCase
{
    Q_OBJECT

private slots:
    void lineBreaksBecomeBlanksAndCanBeUndone_data()
    {
        const Cases<Way, QString, QString> add("way", "entered", "text");
        add("a line feed", Way::Key, u"one\ntwo"_s, u"one two"_s);
        add("a carriage return", Way::Key, u"one\rtwo"_s, u"one two"_s);
        add("both are one", Way::Key, u"one\r\ntwo"_s, u"one two"_s);
        add("Unicode's own", Way::Key, u"one\u2028two\u2029three"_s, u"one two three"_s);
        add("a vertical tabulator and a form feed", Way::Key, u"one\vtwo\fthree"_s, u"one two three"_s);
        add("the next-line control", Way::Key, u"one\u0085two"_s, u"one two"_s);
        add("an empty line is two", Way::Key, u"one\n\ntwo"_s, u"one  two"_s);
        add("at the end", Way::Key, u"one\n"_s, u"one "_s);
        add("a tabulator stays", Way::Key, u"one\ttwo"_s, u"one\ttwo"_s);
        add("pasted from the menu", Way::Menu, u"one\ntwo"_s, u"one two"_s);
        add("dropped", Way::Drop, u"one\r\ntwo"_s, u"one two"_s);
        add("from an input method", Way::InputMethod, u"one\ntwo"_s, u"one two"_s);
        const QString document = u"a line of it\n"_s.repeated(20'000);
        add("a long document", Way::Key, document, QString(document).replace(u'\n', u' '));
    }

    void lineBreaksBecomeBlanksAndCanBeUndone()
    {
        QFETCH(Way, way);
        QFETCH(QString, entered);
        MessageField field;
        field.setAttribute(Qt::WA_DontShowOnScreen);
        field.show();
        enter(field, entered, way);
        QTEST(field.text(), "text");
        field.clear();
        QTest::keyClicks(&field, u"typed"_s);
        field.selectAll();
        enter(field, entered, way);
        QVERIFY(field.text() != u"typed"_s);
        field.undo();
        QCOMPARE(field.text(), u"typed"_s);
    }

    void whatIsPastedIsOneStepOfUndoingBeforeTheCursor()
    {
        MessageField field;
        QTest::keyClicks(&field, u"a z"_s);
        field.setCursorPosition(2);
        enter(field, u"b\r\n"_s, Way::Key);
        QCOMPARE(field.cursorPosition(), 4);
        QTest::keyClicks(&field, u"c"_s);
        QStringList texts{field.text()};
        while (field.isUndoAvailable()) {
            field.undo();
            texts.append(field.text());
        }
        QCOMPARE(texts, (QStringList{u"a b cz"_s, u"a b z"_s, u"a z"_s, QString()}));
    }

    void copyWithoutASelectionIsForTheParent()
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
            QCOMPARE(returned.size(), 1);      // nothing is being composed any more
            QCOMPARE(field.text(), u"ni好"_s); // there is no line break to type
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
        compose(field, QString()); // given up
        field.commitComposition();
        QCOMPARE(field.text(), u"你hao"_s);
    }
};

QTEST_MAIN(TestMessageField)
#include "TestMessageField.moc"
