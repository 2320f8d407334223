#include "agents/ConfigEditorWindowController.h"

#include "shell/primitives/NeloWindow.h"
#include "support/DialogRobot.h"
#include "support/Files.h"
#include "support/LocalTimeZone.h"
#include "support/OrdinaryUser.h"
#include "support/SmallDisk.h"
#include "support/TestHome.h"
#include "support/Warnings.h"
#include "ui/Colors.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <optional>
#include <tuple>

using Files::contentOf;
using Files::create;

namespace {

QStringList backupsIn(const QString& folder)
{
    return QDir(folder).entryList({QStringLiteral("*.bak.*")}, QDir::Files | QDir::Hidden);
}

QFile::Permissions permissionsOf(const QString& path)
{
    return QFileInfo(path).permissions() & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
}

/// An editor on `path`, shown; it may go at any time.
class Editor final
{
public:
    explicit Editor(const QString& path)
    {
        auto* controller =
            new ConfigEditorWindowController(QStringLiteral("Config Editor - ") + path, path, [this](bool isSaved) {
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

    QPlainTextEdit* textView() const { return window->findChild<QPlainTextEdit*>(QStringLiteral("textView")); }
    QPushButton* button(const QString& title) const
    {
        for (QPushButton* candidate : window->findChildren<QPushButton*>()) {
            if (candidate->text() == title)
                return candidate;
        }
        return nullptr;
    }
    void type(const QString& text) const
    {
        textView()->selectAll();
        QTest::keyClicks(textView(), text);
    }
    void press(const QString& title) const { QTest::mouseClick(button(title), Qt::LeftButton); }
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
class TestConfigEditorWindowController final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_home.emplace();
        create(path(), "{\"a\": 1}\n");
    }

    void cleanup() { m_home.reset(); }

    void theWindowIsTitledAndSizedAsGiven()
    {
        const Editor editor(path());
        QCOMPARE(editor.window->windowTitle(), QStringLiteral("Config Editor - ") + path());
        QCOMPARE(editor.window->size(), QSize(900, 640));
        QCOMPARE(editor.window->minimumSize(), QSize(900, 640));
        QVERIFY(editor.window->isWindow());
    }

    void theContentIsLaidOutAsGiven()
    {
        const Editor editor(path());
        const QRect label = editor.window->findChild<QLabel*>(QStringLiteral("pathLabel"))->geometry();
        const QRect text = editor.textView()->geometry();
        const QRect save = editor.button(QStringLiteral("Save"))->geometry();
        const QRect reload = editor.button(QStringLiteral("Reload"))->geometry();
        QCOMPARE(label.topLeft(), QPoint(16, 16));
        QCOMPARE(label.right() + 1, 900 - 16);
        QCOMPARE(text.left(), 16);
        QCOMPARE(text.right() + 1, 900 - 16);
        QCOMPARE(text.top(), label.bottom() + 1 + 10);
        QCOMPARE(text.bottom() + 1, save.top() - 12);
        QCOMPARE(save.right() + 1, 900 - 16);
        QCOMPARE(save.bottom() + 1, 640 - 16);
        QCOMPARE(reload.right() + 1, save.left() - 8);
        QCOMPARE(reload.center().y(), save.center().y());
    }

    void theTextIsMonospacedAndNotWrapped()
    {
        const Editor editor(path());
        QCOMPARE(editor.textView()->toPlainText(), QStringLiteral("{\"a\": 1}\n"));
        QCOMPARE(editor.textView()->font().pixelSize(), 12);
        QCOMPARE(editor.textView()->font().family(), QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
        QCOMPARE(editor.textView()->lineWrapMode(), QPlainTextEdit::NoWrap);
        QVERIFY(!editor.textView()->isReadOnly());
    }

    void controlsAreReachedByKeyboardAndNamed()
    {
        const Editor editor(path());
        editor.window->makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(editor.window));
        QCOMPARE(QApplication::focusWidget(), editor.textView());
        QCOMPARE(editor.textView()->accessibleName(), QStringLiteral("Configuration"));
        QTest::keyClick(editor.textView(), Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(QApplication::focusWidget(), editor.button(QStringLiteral("Save")));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(QApplication::focusWidget(), editor.button(QStringLiteral("Reload")));
        QCOMPARE(editor.button(QStringLiteral("Reload"))->accessibleName(), QStringLiteral("Reload"));
    }

    void thePathIsInTheSecondaryColor()
    {
        const Editor editor(path());
        const auto* label = editor.window->findChild<QLabel*>(QStringLiteral("pathLabel"));
        QCOMPARE(label->palette().color(QPalette::WindowText), Colors::secondaryText(editor.window->palette()));
    }

    void aLongPathDoesNotWidenTheWindow()
    {
        const QString file = path(QString(200, u'长') + QStringLiteral("/<b>config.json"));
        const Editor editor(file);
        QCOMPARE(editor.window->size(), QSize(900, 640));
        QCOMPARE(editor.window->findChild<QLabel*>(QStringLiteral("pathLabel"))->text(), file);
    }

    void savingReplacesTheFileKeepsABackupAndCloses()
    {
        const Editor editor(path());
        editor.type(QStringLiteral("{}"));
        editor.press(QStringLiteral("Save"));
        QVERIFY(editor.isClosed());
        QCOMPARE(editor.saves, QList<bool>{true});
        QCOMPARE(contentOf(path()), QByteArray("{}"));
        const QStringList backups = backupsIn(path(QString()));
        QCOMPARE(backups.size(), 1);
        static const QRegularExpression pattern(QStringLiteral("^config\\.json\\.bak\\.\\d{8}-\\d{6}$"));
        QVERIFY(pattern.match(backups.at(0)).hasMatch());
        QCOMPARE(contentOf(path(backups.at(0))), QByteArray("{\"a\": 1}\n"));
    }

    void savingTwiceInASecondKeepsTheFirstBackup()
    {
        const QTime start = QTime::currentTime();
        for (const QString& text : {QStringLiteral("first"), QStringLiteral("second")}) {
            const Editor editor(path());
            editor.type(text);
            editor.press(QStringLiteral("Save"));
            QVERIFY(editor.isClosed());
        }
        QCOMPARE(contentOf(path()), QByteArray("second"));
        const QStringList backups = backupsIn(path(QString()));
        QCOMPARE(contentOf(path(backups.at(0))), QByteArray("{\"a\": 1}\n"));
        QVERIFY(backups.size() == 1 || start.second() != QTime::currentTime().second());
    }

    void aBackupsNameIsTheLocalTime()
    {
        const LocalTimeZone zone;
        const Editor editor(path());
        editor.press(QStringLiteral("Save"));
        QVERIFY(LocalTimeZone::isNow(backupsIn(path(QString())).value(0).section(u'.', -1)));
    }

    void aSaveIsToldBeforeTheWindowCloses()
    {
        const Editor editor(path());
        editor.press(QStringLiteral("Save"));
        QVERIFY(editor.wasOpenWhenSaved);
        QVERIFY(editor.isClosed());
    }

    void savingAMissingFileMakesItWithoutABackup()
    {
        const Editor editor(path(QStringLiteral("new.json")));
        QCOMPARE(editor.textView()->toPlainText(), QString());
        editor.type(QStringLiteral("{}"));
        editor.press(QStringLiteral("Save"));
        QVERIFY(editor.isClosed());
        QCOMPARE(contentOf(path(QStringLiteral("new.json"))), QByteArray("{}"));
        QCOMPARE(permissionsOf(path(QStringLiteral("new.json"))), QFile::ReadOwner | QFile::WriteOwner);
        QCOMPARE(backupsIn(path(QString())), QStringList());
    }

    void savingAFileThatWasDeletedMeanwhileMakesItAnew()
    {
        const Editor editor(path());
        QVERIFY(QFile::remove(path()));
        editor.press(QStringLiteral("Save"));
        QVERIFY(editor.isClosed());
        QCOMPARE(contentOf(path()), QByteArray("{\"a\": 1}\n"));
        QCOMPARE(permissionsOf(path()), QFile::ReadOwner | QFile::WriteOwner);
        QCOMPARE(backupsIn(path(QString())), QStringList());
    }

    void savingInvalidJsonSavesItAsTyped()
    {
        const Editor editor(path());
        editor.type(QStringLiteral("{,]"));
        editor.press(QStringLiteral("Save"));
        QCOMPARE(contentOf(path()), QByteArray("{,]"));
    }

    void whatIsNotEditedIsSavedByteForByte_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("every line ending, marks and no final one")
            << QByteArray("\ufeffa\r\nb\nc\rd\u2028e\u2029f\u00a0g\0h\r\n\nlast", 31);
        QTest::newRow("fifty megabytes") << (QByteArray(1000, 'x') + "\r\n").repeated(50'000);
        QTest::newRow("one line of five megabytes") << QByteArray(5'000'000, 'x');
    }

    void whatIsNotEditedIsSavedByteForByte()
    {
        QFETCH(QByteArray, content);
        create(path(), content);
        auto* controller = new ConfigEditorWindowController({}, path(), [](bool) {});
        const QPointer<NeloWindow> window(controller->window());
        controller->saveFile();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!window);
        QVERIFY(contentOf(path()) == content); // QCOMPARE would print megabytes
        QVERIFY(contentOf(path(backupsIn(path(QString())).value(0))) == content);
    }

    void aSavedFileKeepsItsModeAndItsLink()
    {
        const QString target = path(QStringLiteral("dotfiles.json"));
        QVERIFY(QFile::rename(path(), target));
        QVERIFY(QFile::link(target, path()));
        const QFile::Permissions mode = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
        QVERIFY(QFile::setPermissions(target, mode));
        const Editor editor(path());
        editor.type(QStringLiteral("new"));
        editor.press(QStringLiteral("Save"));
        QVERIFY(QFileInfo(path()).isSymLink());
        QCOMPARE(contentOf(target), QByteArray("new"));
        QCOMPARE(permissionsOf(target), mode);
        const QStringList backups = backupsIn(path(QString()));
        QCOMPARE(backups.size(), 1);
        QCOMPARE(permissionsOf(path(backups.at(0))), QFile::ReadOwner | QFile::WriteOwner);
    }

    void aFileThatBecameALinkMeanwhileStaysOne()
    {
        const Editor editor(path());
        const QString target = path(QStringLiteral("elsewhere.json"));
        create(target, "other bytes");
        QVERIFY(QFile::remove(path()));
        QVERIFY(QFile::link(target, path()));
        editor.type(QStringLiteral("new"));
        editor.press(QStringLiteral("Save"));
        QVERIFY(QFileInfo(path()).isSymLink());
        QCOMPARE(contentOf(target), QByteArray("new"));
        QCOMPARE(contentOf(path(backupsIn(path(QString())).value(0))), QByteArray("other bytes"));
    }

    void aFileThatIsNotUtf8OpensEmptyAndIsBackedUp()
    {
        create(path(), "\xff\xfe{");
        const Editor editor(path());
        QCOMPARE(editor.textView()->toPlainText(), QString());
        editor.press(QStringLiteral("Save"));
        QCOMPARE(contentOf(path()), QByteArray());
        QCOMPARE(contentOf(path(backupsIn(path(QString())).value(0))), QByteArray("\xff\xfe{"));
    }

    void aFileThatMayNotBeReadOpensEmptyAndIsBackedUp()
    {
        QVERIFY(QFile::setPermissions(path(), {}));
        {
            const OrdinaryUser user;
            const Editor editor(path());
            QCOMPARE(editor.textView()->toPlainText(), QString());
            editor.type(QStringLiteral("new"));
            editor.press(QStringLiteral("Save"));
            QVERIFY(editor.isClosed());
        }
        const QString backup = path(backupsIn(path(QString())).value(0));
        for (const QString& file : {path(), backup}) {
            QCOMPARE(permissionsOf(file), QFile::Permissions());
            QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        }
        QCOMPARE(contentOf(path()), QByteArray("new"));
        QCOMPARE(contentOf(backup), QByteArray("{\"a\": 1}\n"));
    }

    void aFailedSaveKeepsTheWindowTheTextAndTheFile_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* what, const char* reason) {
            QTest::newRow(what) << QString::fromLatin1(what) << QString::fromLatin1(reason);
        };
        row("a read-only folder", "Permission denied");
        row("a missing folder", "No such file or directory");
        row("a file in the folder's place", "Not a directory");
        row("a folder in the file's place", "Is a directory");
    }

    void aFailedSaveKeepsTheWindowTheTextAndTheFile()
    {
        QFETCH(QString, what);
        QFETCH(QString, reason);
        const QString folder = path(QStringLiteral(".codex"));
        const QString file = folder + QStringLiteral("/config.json");
        QVERIFY(QDir().mkdir(folder));
        create(file, "original");
        const Editor editor(file);
        editor.type(QStringLiteral("edited"));

        QString original = file;
        if (what == QStringLiteral("a read-only folder")) {
            QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
        } else {
            original = path(QStringLiteral("moved"));
            QVERIFY(QFile::rename(file, original));
            QVERIFY(QDir().rmdir(folder));
        }
        if (what == QStringLiteral("a file in the folder's place"))
            create(folder, "not a folder");
        if (what == QStringLiteral("a folder in the file's place"))
            QVERIFY(QDir().mkpath(file));

        const OrdinaryUser user;
        DialogRobot robot({DialogRobot::press(QStringLiteral("OK"))});
        editor.press(QStringLiteral("Save"));
        QCOMPARE(robot.titles(), QStringList{QStringLiteral("Save Failed")});
        QCOMPARE(robot.shown().at(0).text, reason);
        QCOMPARE(robot.shown().at(0).buttons, QStringList{QStringLiteral("OK")});
        QVERIFY(!editor.isClosed());
        QVERIFY(editor.window->isVisible());
        QCOMPARE(editor.textView()->toPlainText(), QStringLiteral("edited"));
        QCOMPARE(editor.saves, QList<bool>());
        QCOMPARE(contentOf(original), QByteArray("original"));
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void aFullDiskKeepsTheWindowTheTextAndTheFile()
    {
        const SmallDisk disk;
        const QString file = disk.path(QStringLiteral("config.json"));
        const QByteArray original(10'000, 'x');
        create(file, original);
        disk.fill(4096);
        const Editor editor(file);
        DialogRobot robot({DialogRobot::press(QStringLiteral("OK"))});
        editor.press(QStringLiteral("Save"));
        QCOMPARE(robot.shown().at(0).text, QStringLiteral("No space left on device"));
        QVERIFY(!editor.isClosed());
        QCOMPARE(editor.textView()->toPlainText().toUtf8(), original);
        QCOMPARE(contentOf(file), original);
        QCOMPARE(QDir(disk.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList({QStringLiteral("config.json"), QStringLiteral("filling")}));
    }

    void aFailedSaveCanBeRepeated()
    {
        const QString file = path(QStringLiteral("folder/config.json"));
        const Editor editor(file);
        editor.type(QStringLiteral("edited"));
        DialogRobot robot({DialogRobot::press(Qt::Key_Escape)});
        editor.press(QStringLiteral("Save"));
        QCOMPARE(robot.titles(), QStringList{QStringLiteral("Save Failed")});
        QVERIFY(QDir().mkpath(QFileInfo(file).path()));
        editor.press(QStringLiteral("Save"));
        QVERIFY(editor.isClosed());
        QCOMPARE(contentOf(file), QByteArray("edited"));
        QCOMPARE(editor.saves, QList<bool>{true});
    }

    void aWindowThatGoesUnderItsAlertDoesNoHarm()
    {
        const Editor editor(path(QStringLiteral("no/config.json")));
        DialogRobot robot({[&editor](QDialog& dialog) {
            delete editor.window;
            DialogRobot::press(QStringLiteral("OK"))(dialog);
        }});
        // Not by a click: the event that is on its way to a button does not outlive the button.
        QTimer::singleShot(0, editor.window->findChild<ConfigEditorWindowController*>(),
                           &ConfigEditorWindowController::saveFile);
        QTRY_VERIFY(!editor.window);
        QCOMPARE(robot.titles(), QStringList{QStringLiteral("Save Failed")});
        QCOMPARE(editor.saves, QList<bool>());
    }

    void reloadDiscardsEdits()
    {
        const Editor editor(path());
        editor.type(QStringLiteral("edited"));
        create(path(), "changed by another program\r\n");
        editor.press(QStringLiteral("Reload"));
        QCOMPARE(editor.textView()->toPlainText(), QStringLiteral("changed by another program\n"));
        QVERIFY(!editor.textView()->document()->isUndoAvailable());
        QCOMPARE(editor.saves, QList<bool>());
    }

    void reloadEmptiesTheEditorOfADeletedFile()
    {
        const Editor editor(path());
        QVERIFY(QFile::remove(path()));
        editor.press(QStringLiteral("Reload"));
        QCOMPARE(editor.textView()->toPlainText(), QString());
    }

    void closingDiscardsEditsAndDeletesTheWindow()
    {
        const Editor editor(path());
        editor.type(QStringLiteral("edited"));
        editor.window->close();
        QVERIFY(editor.isClosed());
        QCOMPARE(contentOf(path()), QByteArray("{\"a\": 1}\n"));
        QCOMPARE(editor.saves, QList<bool>());
        QCOMPARE(backupsIn(path(QString())), QStringList());
    }

    void twoEditorsOfOneFileAreIndependent()
    {
        const Editor one(path());
        const Editor other(path());
        one.type(QStringLiteral("one"));
        other.type(QStringLiteral("other"));
        other.press(QStringLiteral("Save"));
        QVERIFY(other.isClosed());
        QVERIFY(!one.isClosed());
        QCOMPARE(one.textView()->toPlainText(), QStringLiteral("one"));
        one.press(QStringLiteral("Save")); // the last save wins
        QCOMPARE(contentOf(path()), QByteArray("one"));
    }

private:
    QString path(const QString& relative = QStringLiteral("config.json")) const { return m_home->path(relative); }

    std::optional<TestHome> m_home;
};

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QApplication application(argc, argv);
    TestConfigEditorWindowController test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestConfigEditorWindowController.moc"
