#include "agents/ConfigEditorWindowController.h"

#include "shell/primitives/NeloWindow.h"
#include "support/CaseTable.h"
#include "support/Controls.h"
#include "support/DialogRobot.h"
#include "support/Files.h"
#include "support/LocalTimeZone.h"
#include "support/OrdinaryUser.h"
#include "support/SmallDisk.h"
#include "support/TestCase.h"
#include "support/TestHome.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontInfo>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTimer>

#include <tuple>

using namespace Qt::StringLiterals;

using Files::contentOf;
using Files::create;

namespace {

/// An editor on `path`, shown; it may go at any time.
class Editor final
{
public:
    explicit Editor(const QString& path)
    {
        auto* controller = new ConfigEditorWindowController(u"Config Editor - "_s + path, path, [this](bool isSaved) {
            saves.append(isSaved);
            wasOpenWhenSaved = window && window->isVisible();
        });
        window = controller->window();
        window->show();
        std::ignore = QTest::qWaitForWindowExposed(window); // what is not there fails where it is looked for
    }
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;
    ~Editor() { delete window; }

    QPlainTextEdit* textView() const { return window->findChild<QPlainTextEdit*>(u"textView"_s); }
    void type(const QString& text) const
    {
        textView()->selectAll();
        QTest::keyClicks(textView(), text);
    }
    void press(const QString& title) const { Controls::press(*window, title); }
    /// Whether the window went away by itself; a window that stays does not within two turns of the event loop.
    bool isClosed() const
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        return window.isNull();
    }

    QPointer<NeloWindow> window;
    QList<bool> saves;
    bool wasOpenWhenSaved = false;
};

} // namespace

/// The window in which a configuration file is edited, on real files.
class TestConfigEditorWindowController final : public TestCase
{
    Q_OBJECT

public:
    static void initMain() { SmallDisk::allowMounts(); }

private slots:
    void init() override
    {
        TestCase::init();
        create(path(), "{\"a\": 1}\n");
    }

    void theWindowIsLaidOutAsGiven()
    {
        const Editor editor(path());
        QCOMPARE(editor.window->windowTitle(), u"Config Editor - "_s + path());
        QCOMPARE(editor.window->size(), QSize(900, 640));
        QVERIFY(editor.window->minimumSizeHint().height() < 400); // Save is in reach on a small screen, too
        QVERIFY(editor.window->minimumSize().height() < 400);
        const QRect label = editor.window->findChild<QLabel*>(u"pathLabel"_s)->geometry();
        const QRect text = editor.textView()->geometry();
        const QRect save = Controls::button(*editor.window, u"Save"_s)->geometry();
        const QRect reload = Controls::button(*editor.window, u"Reload"_s)->geometry();
        QCOMPARE(reload.center().y(), save.center().y());
        QCOMPARE((QList<int>{label.left(), label.top(), 899 - label.right(), text.left(), 899 - text.right(),
                             text.top() - label.bottom() - 1, save.top() - text.bottom() - 1, 899 - save.right(),
                             639 - save.bottom(), save.left() - reload.right() - 1}),
                 (QList<int>{16, 16, 16, 16, 16, 10, 12, 16, 16, 8}));
    }

    void theTextIsMonospacedAndNotWrapped()
    {
        const Editor editor(path());
        QCOMPARE(editor.textView()->toPlainText(), u"{\"a\": 1}\n"_s);
        QTRY_VERIFY(editor.textView()->hasFocus());
        QCOMPARE(QFontInfo(editor.textView()->font()).pixelSize(), 12);
        QCOMPARE(editor.textView()->font().family(), QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
        QCOMPARE(editor.textView()->font().weight(), QFont::Normal);
        QCOMPARE(editor.textView()->lineWrapMode(), QPlainTextEdit::NoWrap);
        const QPalette desktop = QApplication::palette();
        QCOMPARE(editor.textView()->palette().color(QPalette::Text), desktop.color(QPalette::Text));
        QCOMPARE(editor.window->grab().toImage().pixelColor(2, 2), desktop.color(QPalette::Window)); // its margin
    }

    void savingReplacesTheFileKeepsABackupTellsAndCloses()
    {
        const LocalTimeZone zone;
        const Editor editor(path());
        editor.type(u"{}"_s);
        editor.press(u"Save"_s);
        QVERIFY(editor.wasOpenWhenSaved);
        QVERIFY(editor.isClosed());
        QCOMPARE(editor.saves, QList<bool>{true});
        QCOMPARE(contentOf(path()), "{}"_ba);
        const QStringList copies = backups();
        QCOMPARE(copies.size(), 1);
        QVERIFY(copies.at(0).startsWith(u"config.json.bak."_s));
        QVERIFY(LocalTimeZone::isNow(copies.at(0).section(u'.', -1)));
        QCOMPARE(contentOf(path(copies.at(0))), "{\"a\": 1}\n"_ba);
    }

    void savingAMissingFileMakesItWithoutABackup()
    {
        const Editor editor(path(u"new.json"_s));
        QCOMPARE(editor.textView()->toPlainText(), QString());
        editor.type(u"{}"_s);
        editor.press(u"Save"_s);
        QVERIFY(editor.isClosed());
        QCOMPARE(contentOf(path(u"new.json"_s)), "{}"_ba);
        QCOMPARE(Files::mode(path(u"new.json"_s)), 0600);
        QCOMPARE(backups(), QStringList());
    }

    void whatIsNotEditedIsSavedByteForByte()
    {
        const CaseTable<QByteArray> cases{
            {"every line ending, marks and no final one",
             QByteArray("\ufeffa\r\nb\nc\rd\u2028e\u2029f\u00a0g\0h\r\n\nlast", 31)},
            {"fifty megabytes", (QByteArray(1000, 'x') + "\r\n").repeated(50'000)},
            {"one line of five megabytes", QByteArray(5'000'000, 'x')},
        };
        for (const auto& [content] : cases) {
            restart();
            create(path(), content);
            auto* controller = new ConfigEditorWindowController({}, path(), [](bool) {});
            const QPointer<NeloWindow> window(controller->window());
            controller->saveFile();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY(!window);
            QVERIFY(contentOf(path()) == content); // QCOMPARE would print megabytes
            QVERIFY(contentOf(path(backups().value(0))) == content);
        }
    }

    void aFileThatIsNotUtf8OpensEmptyAndIsBackedUp()
    {
        create(path(), "\xff\xfe{");
        const Editor editor(path());
        QCOMPARE(editor.textView()->toPlainText(), QString());
        editor.press(u"Save"_s);
        QCOMPARE(contentOf(path()), QByteArray());
        QCOMPARE(contentOf(path(backups().value(0))), "\xff\xfe{"_ba);
    }

    void aFileThatMayNotBeReadOpensEmptyAndIsReplaced()
    {
        QVERIFY(QFile::setPermissions(path(), {}));
        {
            const OrdinaryUser user;
            const Editor editor(path());
            QCOMPARE(editor.textView()->toPlainText(), QString());
            editor.type(u"new"_s);
            editor.press(u"Save"_s);
            QVERIFY(editor.isClosed());
        }
        QCOMPARE(backups(), QStringList());
        QVERIFY(QFile::setPermissions(path(), QFile::ReadOwner));
        QCOMPARE(contentOf(path()), "new"_ba);
    }

    void aFullDiskKeepsTheWindowTheTextAndTheFile()
    {
        const SmallDisk disk;
        const QString file = disk.path(u"config.json"_s);
        const QByteArray original(10'000, 'x');
        create(file, original);
        disk.fill(4096);
        const Editor editor(file);
        DialogRobot robot({DialogRobot::press(u"OK"_s)});
        editor.press(u"Save"_s);
        QCOMPARE(robot.shown().at(0).text, u"No space left on device"_s);
        QVERIFY(!editor.isClosed());
        QCOMPARE(editor.textView()->toPlainText().toUtf8(), original);
        QCOMPARE(contentOf(file), original);
        QCOMPARE(Files::names(disk.path()), QStringList({u"config.json"_s, u"filling"_s}));
    }

    void aFailedSaveCanBeRepeated()
    {
        const QString file = path(u"folder/config.json"_s);
        const Editor editor(file);
        editor.type(u"edited"_s);
        DialogRobot robot({DialogRobot::press(Qt::Key_Escape)});
        editor.press(u"Save"_s);
        QCOMPARE(robot.titles(), QStringList{u"Save Failed"_s});
        QCOMPARE(robot.shown().at(0).text, u"No such file or directory"_s);
        QCOMPARE(robot.shown().at(0).buttons, QStringList{u"OK"_s});
        QCOMPARE(editor.saves, QList<bool>());
        QVERIFY(QDir().mkpath(QFileInfo(file).path()));
        editor.press(u"Save"_s);
        QVERIFY(editor.isClosed());
        QCOMPARE(contentOf(file), "edited"_ba);
        QCOMPARE(editor.saves, QList<bool>{true});
    }

    void aWindowThatGoesUnderItsAlertDoesNoHarm()
    {
        const Editor editor(path(u"no/config.json"_s));
        DialogRobot robot({[&editor](QDialog& dialog) {
            delete editor.window;
            DialogRobot::press(u"OK"_s)(dialog);
        }});
        // Not by a click: the event that is on its way to a button does not outlive the button.
        QTimer::singleShot(0, editor.window->findChild<ConfigEditorWindowController*>(),
                           &ConfigEditorWindowController::saveFile);
        QTRY_VERIFY(!editor.window);
        QCOMPARE(robot.titles(), QStringList{u"Save Failed"_s});
        QCOMPARE(editor.saves, QList<bool>());
    }

    void reloadDiscardsEdits()
    {
        const Editor editor(path());
        editor.type(u"edited"_s);
        create(path(), "changed by another program\r\n");
        editor.press(u"Reload"_s);
        QCOMPARE(editor.textView()->toPlainText(), u"changed by another program\n"_s);
        QVERIFY(!editor.textView()->document()->isUndoAvailable());
        QVERIFY(QFile::remove(path()));
        editor.press(u"Reload"_s);
        QCOMPARE(editor.textView()->toPlainText(), QString());
        QCOMPARE(editor.saves, QList<bool>());
    }

    void closingDiscardsEditsAndDeletesTheWindow()
    {
        const Editor editor(path());
        editor.type(u"edited"_s);
        editor.window->close();
        QVERIFY(editor.isClosed());
        QCOMPARE(contentOf(path()), "{\"a\": 1}\n"_ba);
        QCOMPARE(editor.saves, QList<bool>());
        QCOMPARE(backups(), QStringList());
    }

    void twoEditorsOfOneFileAreIndependent()
    {
        const Editor one(path());
        const Editor other(path());
        one.type(u"one"_s);
        other.type(u"other"_s);
        other.press(u"Save"_s);
        QVERIFY(other.isClosed());
        QVERIFY(!one.isClosed());
        QCOMPARE(one.textView()->toPlainText(), u"one"_s);
        one.press(u"Save"_s); // the last save wins
        QCOMPARE(contentOf(path()), "one"_ba);
    }

private:
    QStringList backups() const { return Files::names(path(QString())).filter(u".bak."_s); }
    QString path(const QString& relative = u"config.json"_s) const { return m_home->path(relative); }

    Fresh<TestHome> m_home{this};
};

QTEST_MAIN(TestConfigEditorWindowController)
#include "TestConfigEditorWindowController.moc"
