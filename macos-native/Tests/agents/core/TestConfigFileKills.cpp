#include "agents/core/ConfigFile.h"

#include "agents/core/SavedConfigs.h"
#include "support/Files.h"
#include "support/SmallDisk.h"
#include "support/Warnings.h"
#include "support/faults/RandomKills.h"

#include <QDir>
#include <QTest>

namespace {

bool isWhole(const QByteArray& content)
{
    return content == contentOfRound(content.left(content.indexOf('x')).toInt());
}

} // namespace

/// Saving a configuration in programs that are killed.
class TestConfigFileKills final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void filesAndBackupsAreWholeAfterEveryKill()
    {
        const SmallDisk disk(16'777'216);
        const QDir folder(disk.path());
        const QString file = folder.filePath(QStringLiteral("config.json"));
        RandomKills random;
        for (int kill = 0; kill < 200; ++kill) {
            QVERIFY(random.during([&](int round) {
                return !saveConfigFile(file, contentOfRound(round), newYear().addSecs(kill * 10'000 + round));
            }));
            for (const QString& name : Files::names(folder.path()))
                QVERIFY2(name.startsWith(QStringLiteral(".nelo-")) || isWhole(Files::contentOf(folder.filePath(name))),
                         qPrintable(name));

            QCOMPARE(saveConfigFile(file, contentOfRound(0), newYear()), std::nullopt); // as the next start does
            for (const QString& name : Files::names(folder.path())) {
                QVERIFY2(name.startsWith(QStringLiteral("config.json")), qPrintable(name));
                QFile::remove(folder.filePath(name));
            }
        }
    }
};

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestConfigFileKills test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestConfigFileKills.moc"
