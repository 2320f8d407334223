#include "backend/ProjectRoot.h"

#include "support/Warnings.h"

#include <QTest>

/// Which folder the helper runs in.
class TestProjectRoot final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void followsTheNameOfTheWorkingDirectory_data()
    {
        QTest::addColumn<QString>("workingDirectory");
        QTest::addColumn<QString>("root");

        const QString built = QStringLiteral("/build/repository");
        QTest::newRow("the application's own folder gives its parent")
            << QStringLiteral("/home/me/nelo/macos-native") << QStringLiteral("/home/me/nelo");
        QTest::newRow("the repository folder gives itself")
            << QStringLiteral("/home/me/nelohub") << QStringLiteral("/home/me/nelohub");
        QTest::newRow("only the last component counts") << QStringLiteral("/home/nelohub/work") << built;
        QTest::newRow("a folder below macos-native is any other folder")
            << QStringLiteral("/x/macos-native/Sources") << built;
        QTest::newRow("macos-native in other letters is any other folder")
            << QStringLiteral("/x/MacOS-native") << built;
        QTest::newRow("nelohub in other letters is any other folder") << QStringLiteral("/x/NeloHub") << built;
        QTest::newRow("a longer name is any other folder") << QStringLiteral("/x/nelohub2") << built;
        QTest::newRow("the root folder is any other folder") << QStringLiteral("/") << built;
        QTest::newRow("a folder that is gone is any other folder") << QString() << built;
        QTest::newRow("blanks and Chinese letters stay")
            << QStringLiteral("/家 1/nelohub") << QStringLiteral("/家 1/nelohub");
    }

    void followsTheNameOfTheWorkingDirectory()
    {
        QFETCH(QString, workingDirectory);
        QFETCH(QString, root);

        const auto found =
            projectRoot(workingDirectory.toStdString(), "/build/repository/macos-native/Sources/NeloMenuBar/main.cpp");
        QCOMPARE(QString::fromStdString(found.string()), root);
    }
};

QTEST_GUILESS_MAIN(TestProjectRoot)
#include "TestProjectRoot.moc"
