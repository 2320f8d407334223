#include "agents/AgentsViewController.h"

#include "agents/AgentsTab.h"
#include "support/Corpora.h"
#include "support/DialogRobot.h"
#include "support/TestCase.h"

#include <QAccessible>

using namespace Qt::StringLiterals;

namespace {

constexpr int idColumn = 0;
constexpr int nameColumn = 1;

} // namespace

/// Agents whose ids and names are strings that programs have stumbled over.
class TestNaughtyAgents final : public TestCase
{
    Q_OBJECT

private slots:
    void init()
    {
        TestCase::init();
        QVERIFY(m_strings.size() > 450);
        Json agents = Json::array();
        for (const QString& string : m_strings) {
            const std::string text = string.toStdString();
            agents.push_back({{"id", text}, {"name", text}, {"ecosystem", "codex"}, {"origin", "managed"}});
        }
        m_tab = std::make_unique<AgentsTab>();
        m_tab->show(agents);
    }

    void cleanup() { m_tab.reset(); }

    void everyNameStandsInItsCell()
    {
        const QAbstractItemModel* cells = m_tab->table()->model();
        QAccessibleTableInterface* table = QAccessible::queryAccessibleInterface(m_tab->table())->tableInterface();
        QCOMPARE(cells->rowCount(), m_strings.size());
        for (int row = 0; row < cells->rowCount(); ++row) {
            QString line = m_strings.at(row);
            line.replace(QChar::ParagraphSeparator, u' '); // the only line break in the list
            QCOMPARE(cells->index(row, idColumn).data().toString(), line);
            QCOMPARE(cells->index(row, nameColumn).data().toString(), line);
            QCOMPARE(table->cellAt(row, nameColumn)->text(QAccessible::Name), line);
        }
        QCOMPARE(m_tab->summary(), u"Total: %1 (codex:%1)"_s.arg(m_strings.size()));
    }

    /// Of every twentieth; a dialog for each would take long.
    void everyAgentIsCalledByItsNameInDialogs()
    {
        for (int row = 0; row < m_strings.size(); row += 20) {
            m_tab->table()->selectRow(row);
            DialogRobot robot({DialogRobot::press(u"Delete"_s)});
            m_tab->press(u"Delete"_s);
            QCOMPARE(robot.titles(), QStringList{u"Delete Agent"_s});
            QCOMPARE(robot.shown().at(0).text, u"Delete codex/%1 and remove its workspace?"_s.arg(m_strings.at(row)));
            QVERIFY(m_tab->actions().back().args == Json({"codex", m_strings.at(row).toStdString(), true}));
        }
    }

private:
    std::unique_ptr<AgentsTab> m_tab;
    const QStringList m_strings = Corpora::naughtyStrings();
};

QTEST_MAIN(TestNaughtyAgents)
#include "TestNaughtyAgents.moc"
