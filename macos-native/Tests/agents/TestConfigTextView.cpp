#include "agents/ConfigTextView.h"

#include "support/Warnings.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QVBoxLayout>

using Keys = QList<QKeyCombination>;

namespace {

/// Presses `keys`, the first with the cursor at `position`.
void press(ConfigTextView& view, int position, const Keys& keys)
{
    QTextCursor cursor = view.textCursor();
    cursor.setPosition(position);
    view.setTextCursor(cursor);
    for (const QKeyCombination key : keys)
        QTest::keyClick(&view, key.key(), key.keyboardModifiers());
}

} // namespace

/// The editor that gives back the bytes it was given.
class TestConfigTextView final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void whatIsNotEditedComesBack_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("a final line feed") << QByteArray("{}\n");
        QTest::newRow("no final line feed") << QByteArray("{}");
        QTest::newRow("only line feeds") << QByteArray("\n\n\n");
        QTest::newRow("lines that end in carriage return and line feed") << QByteArray("{\r\n}\r\n");
        QTest::newRow("lines that end in carriage return") << QByteArray("{\r}\r");
        QTest::newRow("mixed line endings") << QByteArray("a\r\nb\nc\rd\r\n\r\re\n\r");
        QTest::newRow("as many endings of one kind as of the other") << QByteArray("a\r\nb\nc\r\nd\n");
        QTest::newRow("a byte-order mark") << QByteArray("\xef\xbb\xbf{}\n");
        QTest::newRow("nothing but a byte-order mark") << QByteArray("\xef\xbb\xbf");
        QTest::newRow("two byte-order marks") << QByteArray("\xef\xbb\xbf\xef\xbb\xbf{}");
        QTest::newRow("a byte-order mark inside") << QByteArray("{\xef\xbb\xbf}");
        QTest::newRow("no-break spaces") << QByteArray("a\u00a0b\u202fc\n");
        QTest::newRow("line and paragraph separators") << QByteArray("a\u2028b\u2029c\nd\u2029");
        QTest::newRow("what a document takes for frames") << QByteArray("a\ufdd0b\ufdd1\n\ufdd0");
        QTest::newRow("an object replacement character") << QByteArray("a\ufffc\ufffd\n");
        QTest::newRow("control characters and a null") << QByteArray("a\0b\x1b\t\f\v\x7f\n", 9);
        QTest::newRow("Chinese, emoji and composed characters") << QByteArray("{\"名\": \"👩‍💻e\u0301\"}\n");
        QTest::newRow("bidirectional marks") << QByteArray("a\u202eb\u2066\n");
        QTest::newRow("JSON that is none") << QByteArray("{,]\n");
    }

    void whatIsNotEditedComesBack()
    {
        QFETCH(QByteArray, bytes);
        ConfigTextView view;
        view.setBytes(bytes);
        QCOMPARE(view.bytes(), bytes);
    }

    void everyCharacterComesBack()
    {
        QString text;
        for (char32_t character = 0; character < 0x11000; ++character) {
            if (!QChar::isSurrogate(character))
                text += QString::fromUcs4(&character, 1) + u'x';
        }
        ConfigTextView view;
        view.setBytes(text.toUtf8());
        QVERIFY(view.bytes() == text.toUtf8());
    }

    void bytesThatAreNotUtf8GiveAnEmptyText_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("Latin-1") << QByteArray("{\"a\": \"\xe9\"}");
        QTest::newRow("a character cut at the end") << QByteArray("{}\xe4\xbd");
        QTest::newRow("a surrogate") << QByteArray("\xed\xa0\x80");
        QTest::newRow("an overlong form") << QByteArray("\xc0\xaf");
        QTest::newRow("past the last character") << QByteArray("\xf4\x90\x80\x80");
        QTest::newRow("UTF-16") << QByteArray("\xff\xfe{\0}\0", 6);
        QTest::newRow("bad after a byte-order mark") << QByteArray("\xef\xbb\xbf\xff");
    }

    void bytesThatAreNotUtf8GiveAnEmptyText()
    {
        QFETCH(QByteArray, bytes);
        ConfigTextView view;
        view.setBytes("before\r\n");
        view.setBytes(bytes);
        QCOMPARE(view.toPlainText(), QString());
        QCOMPARE(view.bytes(), QByteArray());
    }

    void theTextIsWhatAPersonReads()
    {
        ConfigTextView view;
        view.setBytes("\xef\xbb\xbf{\r\n\"<b>名</b>\"\r\n}");
        QCOMPARE(view.toPlainText(), QStringLiteral("{\n\"<b>名</b>\"\n}"));
    }

    void aByteOrderMarkSurvivesAWholeNewText()
    {
        ConfigTextView view;
        view.setBytes("\xef\xbb\xbfold\r\n");
        view.selectAll();
        QTest::keyClicks(&view, QStringLiteral("new"));
        QTest::keyClick(&view, Qt::Key_Return);
        QCOMPARE(view.bytes(), QByteArray("\xef\xbb\xbfnew\r\n"));
    }

    void anotherTextForgetsTheOneBefore()
    {
        ConfigTextView view;
        view.setBytes("\ufeff1\r\n2\n3\r\n");
        view.setBytes("1\n2\r\n3\n");
        QCOMPARE(view.bytes(), QByteArray("1\n2\r\n3\n"));
        view.setBytes("x\ny");
        QCOMPARE(view.bytes(), QByteArray("x\ny"));
    }

    void aTypedLineEndsAsTheLineItIsTypedIn_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<int>("position");
        QTest::addColumn<QByteArray>("after");

        QTest::newRow("in an empty text, with a line feed") << QByteArray() << 0 << QByteArray("\n");
        QTest::newRow("among lines with carriage returns")
            << QByteArray("a\r\nb\r\n") << 3 << QByteArray("a\r\nb\r\n\r\n");
        QTest::newRow("in the first line, as most do")
            << QByteArray("ab\r\nc\r\nd\n") << 1 << QByteArray("a\r\nb\r\nc\r\nd\n");
        QTest::newRow("in the first line of mixed ones, which keep theirs")
            << QByteArray("ab\r\nc\nd\n") << 1 << QByteArray("a\nb\r\nc\nd\n");
        QTest::newRow("after an unusual ending, as that")
            << QByteArray("a\nb\nc\r\nde\nf\n") << 7 << QByteArray("a\nb\nc\r\nd\r\ne\nf\n");
    }

    void aTypedLineEndsAsTheLineItIsTypedIn()
    {
        QFETCH(QByteArray, before);
        QFETCH(int, position);
        QFETCH(QByteArray, after);
        ConfigTextView view;
        view.setBytes(before);
        press(view, position, {Qt::Key_Return});
        QCOMPARE(view.bytes(), after);
    }

    void anEditLeavesOtherLinesAlone_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<Keys>("keys");
        QTest::addColumn<QByteArray>("after");
        const auto row = [](const char* name, int position, QKeyCombination key, const QByteArray& after) {
            QTest::newRow(name) << position << Keys{key} << after;
        };
        // The text is "a\r\nb\nc\rd\ne\n"; a line ending counts as one position.
        row("typing at the start", 0, Qt::Key_X, "xa\r\nb\nc\rd\ne\n");
        row("typing in the middle", 5, Qt::Key_X, "a\r\nb\ncx\rd\ne\n");
        row("typing at the end", 10, Qt::Key_X, "a\r\nb\nc\rd\ne\nx");
        row("joining the first two lines", 2, Qt::Key_Backspace, "ab\nc\rd\ne\n");
        row("joining before an unusual ending", 4, Qt::Key_Backspace, "a\r\nbc\rd\ne\n");
        row("joining at an unusual ending", 6, Qt::Key_Backspace, "a\r\nb\ncd\ne\n");
        row("joining forwards", 3, Qt::Key_Delete, "a\r\nbc\rd\ne\n");
        row("emptying a line", 5, Qt::Key_Backspace, "a\r\nb\n\rd\ne\n");
        row("deleting the final line ending", 10, Qt::Key_Backspace, "a\r\nb\nc\rd\ne");
    }

    void anEditLeavesOtherLinesAlone()
    {
        QFETCH(int, position);
        QFETCH(Keys, keys);
        QFETCH(QByteArray, after);
        ConfigTextView view;
        view.setBytes("a\r\nb\nc\rd\ne\n");
        press(view, position, keys);
        QCOMPARE(view.bytes(), after);
    }

    void whatIsUndoneComesBack_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<Keys>("keys");
        const QKeyCombination all(Qt::CTRL | Qt::Key_A);
        QTest::newRow("typing") << 3 << Keys{Qt::Key_X};
        QTest::newRow("a new line") << 3 << Keys{Qt::Key_Return};
        QTest::newRow("joined lines") << 2 << Keys{Qt::Key_Backspace};
        QTest::newRow("a line ending after an empty line") << 4 << Keys{Qt::Key_Delete};
        QTest::newRow("everything deleted") << 0 << Keys{all, Qt::Key_Delete};
        QTest::newRow("everything replaced") << 0 << Keys{all, Qt::Key_X};
    }

    void whatIsUndoneComesBack()
    {
        QFETCH(int, position);
        QFETCH(Keys, keys);
        const QByteArray bytes("a\r\nb\n\r\nc\rd\u2029e\n\n");
        ConfigTextView view;
        view.setBytes(bytes);
        press(view, position, keys);
        const QByteArray edited = view.bytes();
        QVERIFY(edited != bytes);
        while (view.document()->isUndoAvailable())
            view.undo();
        QCOMPARE(view.bytes(), bytes);
        while (view.document()->isRedoAvailable())
            view.redo();
        QCOMPARE(view.bytes(), edited);
    }

    void aLoadedTextCannotBeUndone()
    {
        ConfigTextView view;
        view.setBytes("a\r\nb\nc\n");
        QVERIFY(!view.document()->isUndoAvailable());
        press(view, 0, {Qt::Key_X});
        QVERIFY(view.document()->isUndoAvailable());
        view.setBytes("d\r\ne\nf\n");
        QVERIFY(!view.document()->isUndoAvailable());
    }

    void aPastedLineEndsAsMostDo()
    {
        ConfigTextView view;
        view.setBytes("a\r\nb\r\n");
        QGuiApplication::clipboard()->setText(QStringLiteral("1\n2\r\n"));
        press(view, 0, {Qt::CTRL | Qt::Key_V});
        QCOMPARE(view.bytes(), QByteArray("1\r\n2\r\na\r\nb\r\n"));
    }

    void cutAndPasteKeepsNoBreakSpaces()
    {
        const QByteArray bytes("a\u00a0b\u2028c\nd");
        ConfigTextView view;
        view.setBytes(bytes);
        press(view, 0, {Qt::CTRL | Qt::Key_A, Qt::CTRL | Qt::Key_X});
        QCOMPARE(view.bytes(), QByteArray());
        QCOMPARE(QGuiApplication::clipboard()->text(), QString::fromUtf8(bytes));
        press(view, 0, {Qt::CTRL | Qt::Key_V});
        QCOMPARE(view.bytes(), bytes);
    }

    void shiftReturnStartsALine()
    {
        ConfigTextView view;
        view.setBytes("ab\r\n");
        press(view, 1, {Qt::SHIFT | Qt::Key_Return});
        QCOMPARE(view.bytes(), QByteArray("a\r\nb\r\n"));
        QCOMPARE(view.textCursor().position(), 2);
    }

    void tabIsTextAndShiftTabLeaves()
    {
        QWidget window;
        auto* before = new QLineEdit(&window);
        auto* view = new ConfigTextView(&window);
        auto* column = new QVBoxLayout(&window);
        column->addWidget(before);
        column->addWidget(view);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        view->setFocus();
        QTest::keyClick(view, Qt::Key_Tab);
        QVERIFY(view->hasFocus());
        QCOMPARE(view->bytes(), QByteArray("\t"));
        QTest::keyClick(view, Qt::Key_Backtab, Qt::ShiftModifier);
        QVERIFY(before->hasFocus());
        QCOMPARE(view->bytes(), QByteArray("\t"));
    }

    void longLinesScroll()
    {
        ConfigTextView view;
        view.resize(300, 200);
        view.setBytes(QByteArray("word ").repeated(500));
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QVERIFY(view.horizontalScrollBar()->maximum() > 0);
        QCOMPARE(view.document()->firstBlock().lineCount(), 1);
    }
};

QTEST_MAIN(TestConfigTextView)
#include "TestConfigTextView.moc"
