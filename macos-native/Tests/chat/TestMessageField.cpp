#include "chat/MessageField.h"

#include "support/Warnings.h"

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QMimeData>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

/// The one-line input: line breaks, and input methods.
class TestMessageField final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void lineBreaksBecomeBlanks_data()
    {
        QTest::addColumn<QString>("pasted");
        QTest::addColumn<QString>("text");

        QTest::newRow("a line feed") << u"one\ntwo"_s << u"one two"_s;
        QTest::newRow("a carriage return") << u"one\rtwo"_s << u"one two"_s;
        QTest::newRow("both are one") << u"one\r\ntwo"_s << u"one two"_s;
        QTest::newRow("Unicode's own") << u"one\u2028two\u2029three"_s << u"one two three"_s;
        QTest::newRow("a vertical tabulator and a form feed") << u"one\vtwo\fthree"_s << u"one two three"_s;
        QTest::newRow("the next-line control") << u"one\u0085two"_s << u"one two"_s;
        QTest::newRow("an empty line is two") << u"one\n\ntwo"_s << u"one  two"_s;
        QTest::newRow("at the end") << u"one\n"_s << u"one "_s;
        QTest::newRow("a tabulator stays") << u"one\ttwo"_s << u"one\ttwo"_s;
    }

    void lineBreaksBecomeBlanks()
    {
        QFETCH(QString, pasted);
        MessageField field;
        QGuiApplication::clipboard()->setText(pasted);
        field.paste();
        QTEST(field.text(), "text");
    }

    void theCursorStaysAfterWhatWasPasted()
    {
        MessageField field;
        field.setText(u"before after"_s);
        field.setCursorPosition(7);
        QGuiApplication::clipboard()->setText(u"a\r\nb\r\n"_s);
        field.paste();
        QCOMPARE(field.text(), u"before a b after"_s);
        QCOMPARE(field.cursorPosition(), 11);
    }

    void droppedLineBreaksBecomeBlanks()
    {
        MessageField field;
        field.setAttribute(Qt::WA_DontShowOnScreen);
        field.show();
        QMimeData dropped;
        dropped.setText(u"one\r\ntwo"_s);
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, {});
        QCoreApplication::sendEvent(&field, &enter);
        QDropEvent drop({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, {});
        QCoreApplication::sendEvent(&field, &drop);
        QCOMPARE(field.text(), u"one two"_s);
    }

    void aLongDocumentFits()
    {
        const QString document = u"a line of it\n"_s.repeated(20'000);
        MessageField field;
        QGuiApplication::clipboard()->setText(document);
        field.paste();
        QCOMPARE(field.text().size(), document.size());
    }

    void returnIsReported()
    {
        MessageField field;
        QSignalSpy returned(&field, &QLineEdit::returnPressed);
        QTest::keyClicks(&field, u"text"_s);
        QTest::keyClick(&field, Qt::Key_Return);
        QTest::keyClick(&field, Qt::Key_Enter, Qt::KeypadModifier);
        QCOMPARE(returned.size(), 2);
        QCOMPARE(field.text(), u"text"_s); // there is no line break to type
    }

    void returnThatEndsACompositionIsNot_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("Return") << Qt::Key_Return;
        QTest::newRow("Enter") << Qt::Key_Enter;
    }

    void returnThatEndsACompositionIsNot()
    {
        QFETCH(Qt::Key, key);
        MessageField field;
        QSignalSpy returned(&field, &QLineEdit::returnPressed);
        compose(field, u"ni"_s);
        QTest::keyClick(&field, key);
        QCOMPARE(returned.size(), 0);
        QCOMPARE(field.text(), u"ni"_s);

        compose(field, u"hao"_s);
        compose(field, QString(), u"好"_s);
        QCOMPARE(field.text(), u"ni好"_s);
        QTest::keyClick(&field, key);
        QCOMPARE(returned.size(), 1); // nothing is being composed any more
    }

    void aCompositionIsCommittedOnRequest()
    {
        MessageField field;
        field.setText(u"你"_s);
        compose(field, u"hao"_s);
        QCOMPARE(field.text(), u"你"_s);
        field.commitComposition();
        QCOMPARE(field.text(), u"你hao"_s);
    }

    void nothingIsCommittedTwice()
    {
        MessageField field;
        field.commitComposition();
        QCOMPARE(field.text(), QString());
        compose(field, u"hao"_s);
        field.commitComposition();
        field.commitComposition();
        QCOMPARE(field.text(), u"hao"_s);
        compose(field, u"x"_s);
        compose(field, QString()); // given up
        field.commitComposition();
        QCOMPARE(field.text(), u"hao"_s);
    }

    void noFrame() { QVERIFY(!MessageField().hasFrame()); }

private:
    /// What an input method says while "ni" becomes 你.
    static void compose(QWidget& field, const QString& preedit, const QString& commit = QString())
    {
        QInputMethodEvent event(preedit, {});
        event.setCommitString(commit);
        QCoreApplication::sendEvent(&field, &event);
    }
};

QTEST_MAIN(TestMessageField)
#include "TestMessageField.moc"
