#include "agents/ConfigEditorWindowController.h"

#include "shell/primitives/NeloWindow.h"
#include "support/Cases.h"
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
#include <QFontInfo>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <optional>
#include <tuple>

using namespace Qt::StringLiterals;

using Files::contentOf;
using Files::create;

namespace {

QStringList backupsIn(const QString& folder)
{
    return QDir(folder).entryList({u"*.bak.*"_s}, QDir::Files | QDir::Hidden);
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
        QCOMPARE(editor.window->windowTitle(), u"Config Editor - "_s + path());
        QCOMPARE(editor.window->size(), QSize(900, 640));
        QVERIFY(editor.window->minimumSizeHint().height() < 400); // Save is in reach on a small screen, too
        QVERIFY(editor.window->minimumSize().height() < 400);
        QVERIFY(editor.window->isWindow());
    }

    void theContentIsLaidOutAsGiven()
    {
        const Editor editor(path());
        const QRect label = editor.window->findChild<QLabel*>(u"pathLabel"_s)->geometry();
        const QRect text = editor.textView()->geometry();
        const QRect save = editor.button(u"Save"_s)->geometry();
        const QRect reload = editor.button(u"Reload"_s)->geometry();
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
        QCOMPARE(editor.textView()->toPlainText(), u"{\"a\": 1}\n"_s);
        QCOMPARE(QFontInfo(editor.textView()->font()).pixelSize(), 12);
        QCOMPARE(editor.textView()->font().family(), QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
        QCOMPARE(editor.textView()->lineWrapMode(), QPlainTextEdit::NoWrap);
        QVERIFY(!editor.textView()->isReadOnly());
        QCOMPARE(editor.textView()->font().weight(), QFont::Normal);
        QCOMPARE(editor.textView()->palette().color(QPalette::Text), editor.window->palette().color(QPalette::Text));
        QCOMPARE(editor.window->backgroundRole(), QPalette::Window);
    }

    void thePathIsInTheSecondaryColor()
    {
        const Editor editor(path());
        const auto* label = editor.window->findChild<QLabel*>(u"pathLabel"_s);
        QCOMPARE(label->palette().color(QPalette::WindowText), Colors::secondaryText(editor.window->palette()));
    }

    void aLongPathDoesNotWidenTheWindow()
    {
        const QString file = path(QString(200, u'长') + u"/<b>config.json"_s);
        const Editor editor(file);
        QVERIFY(editor.window->width() <= 900);
        QVERIFY(editor.window->minimumSizeHint().width() < 900);
        QCOMPARE(editor.window->findChild<QLabel*>(u"pathLabel"_s)->text(), file);
    }

    void savingReplacesTheFileKeepsABackupAndCloses()
    {
        const Editor editor(path());
        editor.type(u"{}"_s);
        editor.press(u"Save"_s);
        QVERIFY(editor.isClosed());
        QCOMPARE(editor.saves, QList<bool>{true});
        QCOMPARE(contentOf(path()), "{}"_ba);
        const QStringList backups = backupsIn(path(QString()));
        QCOMPARE(backups.size(), 1);
        static const QRegularExpression pattern(u"^config\\.json\\.bak\\.\\d{8}-\\d{6}$"_s);
        QVERIFY(pattern.match(backups.at(0)).hasMatch());
        QCOMPARE(contentOf(path(backups.at(0))), "{\"a\": 1}\n"_ba);
    }

    void aBackupsNameIsTheLocalTime()
    {
        const LocalTimeZone zone;
        const Editor editor(path());
        editor.press(u"Save"_s);
        QVERIFY(LocalTimeZone::isNow(backupsIn(path(QString())).value(0).section(u'.', -1)));
    }

    void aSaveIsToldBeforeTheWindowCloses()
    {
        const Editor editor(path());
        editor.press(u"Save"_s);
        QVERIFY(editor.wasOpenWhenSaved);
        QVERIFY(editor.isClosed());
    }

    void savingAMissingFileMakesItWithoutABackup()
    {
        const Editor editor(path(u"new.json"_s));
        QCOMPARE(editor.textView()->toPlainText(), QString());
        editor.type(u"{}"_s);
        editor.press(u"Save"_s);
        QVERIFY(editor.isClosed());
        QCOMPARE(contentOf(path(u"new.json"_s)), "{}"_ba);
        QCOMPARE(permissionsOf(path(u"new.json"_s)), QFile::ReadOwner | QFile::WriteOwner);
        QCOMPARE(backupsIn(path(QString())), QStringList());
    }

    void whatIsNotEditedIsSavedByteForByte_data()
    {
        const Cases<QByteArray> add("content");
        add("every line ending, marks and no final one",
            QByteArray("\ufeffa\r\nb\nc\rd\u2028e\u2029f\u00a0g\0h\r\n\nlast", 31));
        add("fifty megabytes", (QByteArray(1000, 'x') + "\r\n").repeated(50'000));
        add("one line of five megabytes", QByteArray(5'000'000, 'x'));
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

    void aFileThatIsNotUtf8OpensEmptyAndIsBackedUp()
    {
        create(path(), "\xff\xfe{");
        const Editor editor(path());
        QCOMPARE(editor.textView()->toPlainText(), QString());
        editor.press(u"Save"_s);
        QCOMPARE(contentOf(path()), QByteArray());
        QCOMPARE(contentOf(path(backupsIn(path(QString())).value(0))), "\xff\xfe{"_ba);
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
        QCOMPARE(backupsIn(path(QString())), QStringList());
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
        QCOMPARE(QDir(disk.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList({u"config.json"_s, u"filling"_s}));
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
        QCOMPARE(editor.saves, QList<bool>());
    }

    void reloadEmptiesTheEditorOfADeletedFile()
    {
        const Editor editor(path());
        QVERIFY(QFile::remove(path()));
        editor.press(u"Reload"_s);
        QCOMPARE(editor.textView()->toPlainText(), QString());
    }

    void closingDiscardsEditsAndDeletesTheWindow()
    {
        const Editor editor(path());
        editor.type(u"edited"_s);
        editor.window->close();
        QVERIFY(editor.isClosed());
        QCOMPARE(contentOf(path()), "{\"a\": 1}\n"_ba);
        QCOMPARE(editor.saves, QList<bool>());
        QCOMPARE(backupsIn(path(QString())), QStringList());
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
    QString path(const QString& relative = u"config.json"_s) const { return m_home->path(relative); }

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
