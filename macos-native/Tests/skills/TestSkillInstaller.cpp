#include "skills/SkillsTab.h"
#include "support/CaseTable.h"
#include "support/Warnings.h"

#include <QDir>
#include <QFileDialog>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

const QString ok = u"OK"_s;
const QString installed = u"Cloud Skill Installed"_s;

} // namespace

/// Installing skills from this machine and from the cloud catalogue, in the tab that the buttons stand in.
class TestSkillInstaller final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_tab.emplace();
        m_tab->backend.answer("install_openclaw_skill_zip", {{"targetDir", "/w/skills/a"}});
        m_tab->backend.answer(
            "list_cloud_skills_via_core",
            {{{"key", "first"}, {"name", "First 一"}, {"version", "1.2"}, {"description", "Does.\nMore"}},
             {{"key", "second"}}});
        m_tab->backend.answer(
            "list_core_agents",
            {{{"ecosystem", "codex"}, {"id", "0"}},
             {{"ecosystem", "openclaw"}, {"agentId", "main"}, {"id", "1"}, {"state", "online"}, {"workspace", "/w"}},
             {{"ecosystem", "openclaw"}, {"id", "2"}, {"status", "idle"}, {"workspace", "/v"}}});
        m_tab->backend.answer("install_cloud_skill_from_core",
                              {{"targetDir", "/w/skills/first"}, {"restartMethod", "cli"}, {"restartSucceeded", true}});
    }

    void cleanup() { m_tab.reset(); }

    void anotherEcosystemIsNotSupported()
    {
        const CaseTable<QByteArray, QString> cases{
            {"a package", "Install Skill", u"Install Skill is currently implemented for openclaw only."_s},
            {"a cloud skill", "Install Cloud Skill",
             u"Cloud skill install is currently implemented for openclaw only."_s},
        };
        for (const auto& [button, text] : cases) {
            init();
            for (const char* ecosystem : {"codex", "kimi"}) {
                m_tab->choose("ecosystemPopup", ecosystem);
                const std::size_t before = m_tab->functions().size();
                QCOMPARE(m_tab->alertAfter(button.constData()), u"Unsupported: "_s + text);
                QCOMPARE(m_tab->functions().size(), before);
            }
        }
    }

    void withoutAnAgentNoPackageIsAskedFor()
    {
        const CaseTable<QByteArray> cases{
            {"none", R"([{"answer":[]}])"},
            {"a list that failed", R"([{"raise":["OSError","x"]}])"},
        };
        for (const auto& [steps] : cases) {
            init();
            m_tab->backend.script("list_local_agents", Json::parse(steps.toStdString()).get<std::vector<Json>>());
            QCOMPARE(m_tab->alertAfter("Install Skill"), u"No OpenClaw Agent: Select an openclaw agent first."_s);
            QCOMPARE(m_tab->backend.count("install_openclaw_skill_zip"), 0);
        }
    }

    void installsThePackageIntoTheSelectedAgent()
    {
        m_tab->choose("agentPopup", "second (second)");
        const QString path = package(u"技能.zip"_s);
        const DialogRobot robot({chooseFile(path), DialogRobot::press(ok)});
        m_tab->press("Install Skill");
        QVERIFY(m_tab->arguments("install_openclaw_skill_zip") == Json::array({"second", path}));
        QCOMPARE(robot.titles().constLast(), u"Skill Installed"_s);
        QCOMPARE(robot.shown().back().text,
                 u"Agent: second\nTarget: /w/skills/a\nRestart: not attempted\nGateway: not attempted"_s);
        QCOMPARE(m_tab->status(), u"Installed skill to /w/skills/a."_s);
    }

    void thePanelStartsOnTheDesktop()
    {
        const CaseTable<bool> cases{
            {"where there is one", true},
            {"else in the home folder", false},
        };
        for (const auto& [hasDesktop] : cases) {
            init();
            m_tab->view();
            const QString desktop = m_tab->backend.home().path(u"Desktop"_s);
            if (hasDesktop)
                QVERIFY(QDir().mkpath(desktop));
            QString folder;
            const QWidget* parent = nullptr;
            QString accept;
            QFileDialog::FileMode mode = QFileDialog::AnyFile;
            QSize size;
            const DialogRobot robot({[&](QDialog& dialog) {
                auto* panel = qobject_cast<QFileDialog*>(&dialog);
                folder = panel->directory().path();
                parent = panel->parentWidget();
                accept = panel->labelText(QFileDialog::Accept);
                mode = panel->fileMode();
                size = panel->size();
                panel->reject();
            }});
            m_tab->press("Install Skill");
            QCOMPARE(folder, hasDesktop ? desktop : m_tab->backend.home().path());
            QCOMPARE(parent, &m_tab->view());
            QCOMPARE(accept, u"Install"_s);
            QCOMPARE(mode, QFileDialog::ExistingFile);
            QCOMPARE(size, QSize(800, 480));
            QCOMPARE(robot.titles(),
                     QStringList{u"Choose an openclaw skill package (.zip). Non-zip files will be rejected after "
                                 "selection."_s});
        }
    }

    void anyKindOfFileIsSent()
    {
        m_tab->view();
        const QString path = package(u"notes.txt"_s);
        const DialogRobot robot({chooseFile(path), DialogRobot::press(ok)});
        m_tab->press("Install Skill");
        QVERIFY(m_tab->arguments("install_openclaw_skill_zip") == Json::array({"main", path}));
    }

    void cancellingThePanelInstallsNothing()
    {
        m_tab->view();
        const DialogRobot robot({[](QDialog& dialog) { dialog.reject(); }});
        m_tab->press("Install Skill");
        QCOMPARE(robot.shown().size(), std::size_t(1));
        QCOMPARE(m_tab->backend.count("install_openclaw_skill_zip"), 0);
        QCOMPARE(m_tab->status(), u"Loaded 3 skills for openclaw."_s);
        QTRY_VERIFY(!m_tab->view().findChild<QFileDialog*>()); // it is made anew each time
    }

    void aFailedInstallIsTold()
    {
        m_tab->view();
        m_tab->backend.raise("install_openclaw_skill_zip", "ValueError", "no <b>SKILL.md</b>");
        const DialogRobot robot({chooseFile(package(u"a.zip"_s)), DialogRobot::press(ok)});
        m_tab->press("Install Skill");
        QCOMPARE(robot.titles().constLast(), u"Install Failed"_s);
        QCOMPARE(robot.shown().back().text, u"ERROR: ValueError: no <b>SKILL.md</b>"_s);
        QCOMPARE(m_tab->status(), u"Loaded 3 skills for openclaw."_s);
    }

    void anInstallThatAnswersNothingIsTold()
    {
        const CaseTable<QByteArray> cases{
            {"null", "null"},
            {"a list", R"([{"targetDir":"/t"}])"},
            {"a text", R"("/t")"},
        };
        for (const auto& [result] : cases) {
            init();
            m_tab->view();
            m_tab->backend.answer("install_openclaw_skill_zip", Json::parse(result.toStdString()));
            const DialogRobot robot({chooseFile(package(u"a.zip"_s)), DialogRobot::press(ok)});
            m_tab->press("Install Skill");
            QCOMPARE(robot.shown().back().text,
                     u"Agent: main\nTarget: \nRestart: not attempted\nGateway: not attempted"_s);
            QCOMPARE(m_tab->status(), u"Installed skill to ."_s);
        }
    }

    void installsACloudSkillIntoACoreAgent()
    {
        m_tab->view();
        const DialogRobot robot({chooseItem(0, u"Install"_s), chooseItem(0, u"Select"_s), DialogRobot::press(ok)});
        m_tab->press("Install Cloud Skill");
        QCOMPARE(m_tab->arguments("list_cloud_skills_via_core").dump(), std::string(R"(["openclaw"])"));
        QCOMPARE(m_tab->arguments("list_core_agents").dump(), std::string(R"(["openclaw",true])"));
        QCOMPARE(m_tab->arguments("install_cloud_skill_from_core").dump(), std::string(R"(["openclaw","first","1"])"));
        QCOMPARE(robot.titles(), (QStringList{u"Install Cloud Skill"_s, u"Select OpenClaw Agent"_s, installed}));
        QCOMPARE(robot.shown().back().text, u"Skill: First 一\nAgent: main\nTarget: /w/skills/first\n"
                                            "Restart: cli (ok)\nGateway: not attempted"_s);
        QCOMPARE(m_tab->status(), u"Installed cloud skill First 一 to /w/skills/first. Restart: cli (ok)"_s);
    }

    void theChoosersShowWhatThereIs()
    {
        m_tab->view();
        std::vector<QStringList> titles;
        QStringList names;
        const auto look = [&](const QString& button) {
            return [&, button](QDialog& dialog) {
                auto* popup = dialog.findChild<QComboBox*>();
                QCOMPARE(popup->size(), QSize(420, 26));
                QStringList items;
                for (int i = 0; i < popup->count(); ++i)
                    items.append(popup->itemText(i));
                titles.push_back(items);
                names.append(popup->accessibleName() + u'/' + popup->accessibleDescription());
                DialogRobot::press(button)(dialog);
            };
        };
        const DialogRobot robot({look(u"Install"_s), look(u"Cancel"_s)});
        m_tab->press("Install Cloud Skill");
        QCOMPARE(titles[0], (QStringList{u"First 一 v1.2 - Does. More"_s, u"second"_s}));
        QCOMPARE(titles[1], (QStringList{u"main (online) - /w"_s, u"2 (idle) - /v"_s}));
        QCOMPARE(names, (QStringList{u"Skill/Skill"_s, u"Agent/Agent"_s}));
        QCOMPARE(robot.shown()[0].text, u"Cloud catalog is fetched via Nelo Core."_s);
        QCOMPARE(robot.shown()[0].buttons, (QStringList{u"Cancel"_s, u"Install"_s}));
        QCOMPARE(robot.shown()[1].text, u"Choose the target workspace for this skill package."_s);
        QCOMPARE(robot.shown()[1].buttons, (QStringList{u"Cancel"_s, u"Select"_s}));
    }

    void entriesOfTheSameTitleAreTakenByTheirPlace()
    {
        m_tab->view();
        m_tab->backend.answer("list_cloud_skills_via_core",
                              {{{"key", "k"}, {"name", "n"}}, {{"name", "n"}}, {{"key", "l"}, {"name", "n"}}});
        const DialogRobot robot({chooseItem(2, u"Install"_s), chooseItem(1, u"Select"_s), DialogRobot::press(ok),
                                 chooseItem(1, u"Install"_s), chooseItem(1, u"Select"_s), DialogRobot::press(ok)});
        m_tab->press("Install Cloud Skill");
        QCOMPARE(m_tab->arguments("install_cloud_skill_from_core").dump(), std::string(R"(["openclaw","l","2"])"));
        m_tab->press("Install Cloud Skill");
        QCOMPARE(m_tab->arguments("install_cloud_skill_from_core").dump(), std::string(R"(["openclaw","","2"])"));
    }

    void eachStepOfACloudInstallCanFail()
    {
        const std::string catalogue = "list_cloud_skills_via_core";
        const std::string agents = "list_core_agents";
        const std::string install = "install_cloud_skill_from_core";
        const char* const raised = R"({"raise":["OSError","no <b>luck</b>"]})";
        const QString failed = u"Failed: ERROR: OSError: no <b>luck</b>"_s;
        const QString noSkills = u"No Cloud Skills: Core returned an empty cloud skills catalog."_s;
        const QString noAgents = u"No Online OpenClaw Agent: Core did not report any online openclaw agents."_s;
        const CaseTable<std::string, const char*, QString> cases{
            {"the catalogue fails", catalogue, raised, u"Core Catalog "_s + failed},
            {"the catalogue is empty", catalogue, R"({"answer":[]})", noSkills},
            {"the catalogue is an object", catalogue, R"({"answer":{"skills":[]}})", noSkills},
            {"the catalogue holds more than objects", catalogue, R"({"answer":[{"key":"k"},7]})", noSkills},
            {"the agents fail", agents, raised, u"Core Agents "_s + failed},
            {"no agent is online", agents, R"({"answer":[]})", noAgents},
            {"only agents of other ecosystems are online", agents,
             R"({"answer":[{"ecosystem":"codex","id":"1"},{"id":"2"}]})", noAgents},
            {"the agents are an object", agents, R"({"answer":{"id":"1"}})", noAgents},
            {"the install fails", install, raised, u"Cloud Install "_s + failed},
        };
        for (const auto& [function, step, alert] : cases) {
            init();
            m_tab->view();
            m_tab->backend.script(function, {Json::parse(step)});
            std::vector<DialogRobot::Answer> answers;
            if (function != catalogue)
                answers.push_back(chooseItem(0, u"Install"_s));
            if (function == install)
                answers.push_back(chooseItem(0, u"Select"_s));
            answers.push_back(DialogRobot::press(ok));
            const std::size_t dialogs = answers.size();
            const DialogRobot robot(std::move(answers));
            m_tab->press("Install Cloud Skill");
            QCOMPARE(robot.shown().size(), dialogs);
            QCOMPARE(robot.shown().back().title + u": "_s + robot.shown().back().text, alert);
            QCOMPARE(m_tab->functions().back(), function); // and nothing after it
            QCOMPARE(m_tab->status(), u"Loaded 3 skills for openclaw."_s);
        }
    }

    void eachStepOfACloudInstallCanBeCancelled()
    {
        const CaseTable<QStringList, std::string> cases{
            {"the choice of the skill", {u"Install Cloud Skill"_s}, "list_cloud_skills_via_core"},
            {"the choice of the agent, though it is the only one",
             {u"Install Cloud Skill"_s, u"Select OpenClaw Agent"_s},
             "list_core_agents"},
        };
        for (const auto& [titles, lastCall] : cases) {
            init();
            m_tab->view();
            m_tab->backend.answer("list_core_agents", Json::array({{{"ecosystem", "openclaw"}, {"id", "2"}}}));
            std::vector<DialogRobot::Answer> answers(static_cast<std::size_t>(titles.size()) - 1,
                                                     chooseItem(0, u"Install"_s));
            answers.push_back(DialogRobot::press(Qt::Key_Escape));
            const DialogRobot robot(std::move(answers));
            m_tab->press("Install Cloud Skill");
            QCOMPARE(robot.titles(), titles);
            QCOMPARE(m_tab->functions().back(), lastCall);
            QCOMPARE(m_tab->status(), u"Loaded 3 skills for openclaw."_s);
        }
    }

    void aStatusStandsBeforeItsAlert()
    {
        m_tab->view();
        QStringList seen;
        const auto look = [&](QDialog& dialog) {
            seen.append(m_tab->status());
            DialogRobot::press(ok)(dialog);
        };
        const DialogRobot robot(
            {chooseFile(package(u"a.zip"_s)), look, chooseItem(0, u"Install"_s), chooseItem(0, u"Select"_s), look});
        m_tab->press("Install Skill");
        m_tab->press("Install Cloud Skill");
        QCOMPARE(seen, QStringList({u"Installed skill to /w/skills/a."_s,
                                    u"Installed cloud skill First 一 to /w/skills/first. Restart: cli (ok)"_s}));
        QCOMPARE(m_tab->backend.count("list_skills"), 1); // and neither refreshes the list
    }

    void aViewThatGoesAwayWhileAskingInstallsNothing()
    {
        QPushButton* button = Controls::button(m_tab->view(), u"Install Cloud Skill"_s);
        const DialogRobot robot({[this](QDialog& dialog) {
            m_tab->discardView();
            DialogRobot::press(u"Install"_s)(dialog);
        }});
        QMetaObject::invokeMethod(
            button, [button] { button->click(); }, Qt::QueuedConnection);
        QTRY_COMPARE(robot.shown().size(), std::size_t(1));
        QTRY_VERIFY(!QApplication::activeModalWidget());
        QCOMPARE(m_tab->backend.count("list_core_agents"), 0);
    }

    void aViewThatGoesAwayWithItsPanelInstallsNothing()
    {
        QPushButton* button = Controls::button(m_tab->view(), u"Install Skill"_s);
        const DialogRobot robot({[this](QDialog& dialog) {
            QVERIFY(qobject_cast<QFileDialog*>(&dialog));
            m_tab->discardView();
        }});
        QMetaObject::invokeMethod(
            button, [button] { button->click(); }, Qt::QueuedConnection);
        QTRY_COMPARE(robot.shown().size(), std::size_t(1));
        QTRY_VERIFY(!QApplication::activeModalWidget());
        QCOMPARE(m_tab->backend.count("install_openclaw_skill_zip"), 0);
    }

private:
    /// Chooses the file at `path` in the panel and presses its button.
    static DialogRobot::Answer chooseFile(const QString& path)
    {
        return [path](QDialog& dialog) {
            auto* panel = qobject_cast<QFileDialog*>(&dialog);
            QVERIFY(panel);
            auto* name = panel->findChild<QLineEdit*>(u"fileNameEdit"_s);
            name->setText(path);
            QTest::keyClick(name, Qt::Key_Return);
        };
    }

    static DialogRobot::Answer chooseItem(int index, const QString& button)
    {
        return [index, button](QDialog& dialog) {
            dialog.findChild<QComboBox*>()->setCurrentIndex(index);
            DialogRobot::press(button)(dialog);
        };
    }

    /// The path of a file so named in the home folder.
    QString package(const QString& name)
    {
        const QString path = m_tab->backend.home().path(name);
        QFile(path).open(QFile::WriteOnly);
        return path;
    }

    std::optional<SkillsTab> m_tab;
};

QTEST_MAIN(TestSkillInstaller)
#include "TestSkillInstaller.moc"
