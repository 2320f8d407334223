#include "ui/VerbatimTextEdit.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

using Keys = QList<QKeyCombination>;

/// The editor that returns the text exactly as it was set.
class TestVerbatimTextEdit final : public TestCase
{
    Q_OBJECT

private slots:
    void anUneditedTextIsReturnedExactly()
    {
        const CaseTable<QString> cases{
            {"nothing", {}},
            {"a final line feed", u"{}\n"_s},
            {"no final line feed", u"{}"_s},
            {"only line feeds", u"\n\n\n"_s},
            {"lines that end in carriage return and line feed", u"{\r\n}\r\n"_s},
            {"lines that end in carriage return", u"{\r}\r"_s},
            {"mixed line endings", u"a\r\nb\nc\rd\r\n\r\re\n\r"_s},
            {"as many endings of one kind as of the other", u"a\r\nb\nc\r\nd\n"_s},
            {"a byte-order mark", u"\ufeff{}\n"_s},
            {"nothing but a byte-order mark", u"\ufeff"_s},
            {"two byte-order marks", u"\ufeff\ufeff{}"_s},
            {"line and paragraph separators", u"a\u2028b\u2029c\nd\u2029"_s},
            {"what a document takes for frames", u"a\ufdd0b\ufdd1\n\ufdd0"_s},
        };
        for (const auto& [text] : cases) {
            VerbatimTextEdit view;
            view.setText(text);
            QCOMPARE(view.text(), text);
        }
    }

    void everyCharacterIsReturned()
    {
        QString text;
        for (char32_t character = 0; character < 0x11000; ++character) {
            if (!QChar::isSurrogate(character))
                text += QString::fromUcs4(&character, 1) + u'x';
        }
        VerbatimTextEdit view;
        view.setText(text);
        QVERIFY(view.text() == text);
    }

    void aByteOrderMarkIsInvisibleAndStaysWhenTheWholeTextIsReplaced()
    {
        VerbatimTextEdit view;
        view.setText(u"\ufeff<b>old</b>\r\n"_s);
        QCOMPARE(view.toPlainText(), u"<b>old</b>\n"_s);
        view.selectAll();
        QTest::keyClicks(&view, u"new"_s);
        QTest::keyClick(&view, Qt::Key_Return);
        QCOMPARE(view.text(), u"\ufeffnew\r\n"_s);
        for (const QString& text : {u"1\n2\r\n3\n"_s, u"x\ny"_s}) {
            view.setText(text);
            QCOMPARE(view.text(), text);
        }
    }

    void aTypedLineEndsAsTheLineItIsTypedIn()
    {
        const CaseTable<QString, int, QString> cases{
            {"in an empty text, with a line feed", {}, 0, u"\n"_s},
            {"among lines with carriage returns", u"a\r\nb\r\n"_s, 3, u"a\r\nb\r\n\r\n"_s},
            {"in the first line, as most do", u"ab\r\nc\r\nd\n"_s, 1, u"a\r\nb\r\nc\r\nd\n"_s},
            {"in the first line of mixed ones, which keep theirs", u"ab\r\nc\nd\n"_s, 1, u"a\nb\r\nc\nd\n"_s},
            {"after an unusual ending, as that", u"a\nb\nc\r\nde\nf\n"_s, 7, u"a\nb\nc\r\nd\r\ne\nf\n"_s},
        };
        for (const auto& [before, position, after] : cases) {
            for (const QKeyCombination key : {QKeyCombination(Qt::Key_Return), Qt::SHIFT | Qt::Key_Return}) {
                VerbatimTextEdit view;
                view.setText(before);
                press(view, position, {key});
                QCOMPARE(view.text(), after);
                QCOMPARE(view.textCursor().position(), position + 1);
            }
        }
    }

    void anEditLeavesOtherLinesAlone()
    {
        // A line ending counts as one position.
        const CaseTable<int, QKeyCombination, QString> cases{
            {"typing at the start", 0, Qt::Key_X, u"xa\r\nb\nc\rd\ne\n"_s},
            {"typing in the middle", 5, Qt::Key_X, u"a\r\nb\ncx\rd\ne\n"_s},
            {"typing at the end", 10, Qt::Key_X, u"a\r\nb\nc\rd\ne\nx"_s},
            {"joining the first two lines", 2, Qt::Key_Backspace, u"ab\nc\rd\ne\n"_s},
            {"joining before an unusual ending", 4, Qt::Key_Backspace, u"a\r\nbc\rd\ne\n"_s},
            {"joining at an unusual ending", 6, Qt::Key_Backspace, u"a\r\nb\ncd\ne\n"_s},
            {"joining forwards", 3, Qt::Key_Delete, u"a\r\nbc\rd\ne\n"_s},
            {"emptying a line", 5, Qt::Key_Backspace, u"a\r\nb\n\rd\ne\n"_s},
            {"deleting the final line ending", 10, Qt::Key_Backspace, u"a\r\nb\nc\rd\ne"_s},
        };
        for (const auto& [position, key, after] : cases) {
            VerbatimTextEdit view;
            view.setText(u"a\r\nb\nc\rd\ne\n"_s);
            press(view, position, {key});
            QCOMPARE(view.text(), after);
        }
    }

    void undoAndRedoRestoreTheTextExactly()
    {
        const QKeyCombination all(Qt::CTRL | Qt::Key_A);
        const CaseTable<int, Keys> cases{
            {"typing", 3, {Qt::Key_X}},
            {"a new line", 3, {Qt::Key_Return}},
            {"joined lines", 2, {Qt::Key_Backspace}},
            {"a line ending after an empty line", 4, {Qt::Key_Delete}},
            {"everything deleted", 0, {all, Qt::Key_Delete}},
            {"everything replaced", 0, {all, Qt::Key_X}},
        };
        for (const auto& [position, keys] : cases) {
            const QString text = u"a\r\nb\n\r\nc\rd\u2029e\n\n"_s;
            VerbatimTextEdit view;
            view.setText(text);
            press(view, position, keys);
            const QString edited = view.text();
            QVERIFY(edited != text);
            while (view.document()->isUndoAvailable())
                view.undo();
            QCOMPARE(view.text(), text);
            while (view.document()->isRedoAvailable())
                view.redo();
            QCOMPARE(view.text(), edited);
        }
    }

    void aLoadedTextCannotBeUndone()
    {
        VerbatimTextEdit view;
        view.setText(u"a\r\nb\nc\n"_s);
        QVERIFY(!view.document()->isUndoAvailable());
        press(view, 0, {Qt::Key_X});
        QVERIFY(view.document()->isUndoAvailable());
        view.setText(u"d\r\ne\nf\n"_s);
        QVERIFY(!view.document()->isUndoAvailable());
    }

    void cutAndPastedTextKeepsNoBreakSpacesAndItsLinesEndAsMostDo()
    {
        const QString text = u"a\u00a0b\u2028c\nd"_s;
        VerbatimTextEdit view;
        view.setText(text);
        press(view, 0, {Qt::CTRL | Qt::Key_A, Qt::CTRL | Qt::Key_X});
        QCOMPARE(view.text(), QString());
        QCOMPARE(QGuiApplication::clipboard()->text(), text);
        press(view, 0, {Qt::CTRL | Qt::Key_V});
        QCOMPARE(view.text(), text);
        QGuiApplication::clipboard()->setText(u"1\n2\r\n"_s);
        view.setText(u"a\r\nb\r\n"_s);
        press(view, 0, {Qt::CTRL | Qt::Key_V});
        QCOMPARE(view.text(), u"1\r\n2\r\na\r\nb\r\n"_s);
    }

    void tabIsTextAndShiftTabLeaves()
    {
        QWidget window;
        auto* before = new QLineEdit(&window);
        auto* view = new VerbatimTextEdit(&window);
        auto* column = new QVBoxLayout(&window);
        column->addWidget(before);
        column->addWidget(view);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        view->setFocus();
        QTest::keyClick(view, Qt::Key_Tab);
        QVERIFY(view->hasFocus());
        QCOMPARE(view->text(), u"\t"_s);
        QTest::keyClick(view, Qt::Key_Backtab, Qt::ShiftModifier);
        QVERIFY(before->hasFocus());
        QCOMPARE(view->text(), u"\t"_s);
    }

    void longLinesScroll()
    {
        VerbatimTextEdit view;
        view.resize(300, 200);
        view.setText(u"word "_s.repeated(500));
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QVERIFY(view.horizontalScrollBar()->maximum() > 0);
        QCOMPARE(view.document()->firstBlock().lineCount(), 1);
    }

private:
    /// Presses `keys`, the first with the cursor at `position`.
    static void press(VerbatimTextEdit& view, int position, const Keys& keys)
    {
        QTextCursor cursor = view.textCursor();
        cursor.setPosition(position);
        view.setTextCursor(cursor);
        for (const QKeyCombination key : keys)
            QTest::keyClick(&view, key.key(), key.keyboardModifiers());
    }
};

QTEST_MAIN(TestVerbatimTextEdit)
#include "TestVerbatimTextEdit.moc"
