#include "skills/SkillsTab.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <QDir>
#include <QFileDialog>

using namespace Qt::StringLiterals;

const QString ok = u"OK"_s;

/// The installation of skills from this machine and from the cloud catalogue, in the Skills tab.
class TestSkillInstaller final : public TestCase
{
    Q_OBJECT

private slots:
    void anotherEcosystemIsNotSupported()
    {
        for (const char* ecosystem : {"codex", "kimi"}) {
            m_tab->choose("ecosystemPopup", ecosystem);
            const std::vector<std::string> before = m_tab->functions();
            QCOMPARE(m_tab->alertAfter("Install Skill"),
                     u"Unsupported: Install Skill is currently implemented for openclaw only."_s);
            QCOMPARE(m_tab->alertAfter("Install Cloud Skill"),
                     u"Unsupported: Cloud skill install is currently implemented for openclaw only."_s);
            QVERIFY(m_tab->functions() == before);
        }
    }

    void withoutAnAgentNoPanelOpens()
    {
        const CaseTable<Json> cases{
            {"none", {{"answer", Json::array()}}},
            {"a list that failed", {{"raise", {"OSError", "x"}}}},
        };
        for (const auto& [step] : cases) {
            restart();
            m_tab->backend.script("list_local_agents", {step});
            QCOMPARE(m_tab->alertAfter("Install Skill"), u"No OpenClaw Agent: Select an openclaw agent first."_s);
            QCOMPARE(m_tab->backend.count("install_openclaw_skill_zip"), 0);
        }
    }

    void installsThePackageIntoTheSelectedAgent()
    {
        const CaseTable<const char*, QString, QString> cases{
            {"a package", "second (second)", u"second"_s, u"技能.zip"_s},
            {"a file of any other kind", "Main (main)", u"main"_s, u"notes.txt"_s},
        };
        for (const auto& [title, id, file] : cases) {
            m_tab->choose("agentPopup", title);
            const QString path = m_tab->package(file);
            const DialogRobot robot({SkillsTab::chooseFile(path), DialogRobot::press(ok)});
            m_tab->press("Install Skill");
            QVERIFY(m_tab->arguments("install_openclaw_skill_zip") == Json::array({id, path}));
            QCOMPARE(robot.titles().constLast(), u"Skill Installed"_s);
            QCOMPARE(robot.shown().back().text,
                     u"Agent: "_s + id + u"\nTarget: /w/skills/a\nRestart: not attempted\nGateway: not attempted"_s);
            QCOMPARE(m_tab->status(), u"Installed skill to /w/skills/a."_s);
        }
    }

    void thePanelStartsOnTheDesktopOrElseInTheHomeFolder()
    {
        for (const QString& place : {u"Desktop"_s, QString()}) {
            restart();
            m_tab->view();
            const QString folder = m_tab->backend.home().path(place);
            QVERIFY(QDir().mkpath(folder));
            const DialogRobot robot({[this, &folder](QDialog& dialog) {
                const auto* panel = qobject_cast<QFileDialog*>(&dialog);
                QCOMPARE(panel->directory().path(), folder);
                QCOMPARE(panel->parentWidget(), &m_tab->view());
                QCOMPARE(panel->labelText(QFileDialog::Accept), u"Install"_s);
                QCOMPARE(panel->fileMode(), QFileDialog::ExistingFile);
                QCOMPARE(panel->size(), QSize(800, 480));
            }});
            m_tab->press("Install Skill");
            QCOMPARE(robot.titles(),
                     QStringList{u"Choose an openclaw skill package (.zip). Non-zip files will be rejected after "
                                 "selection."_s});
        }
    }

    void anInstallWithoutAResultIsReported()
    {
        const CaseTable<Json> cases{
            {"null", nullptr},
            {"a list", Json::array({{{"targetDir", "/t"}}})},
            {"a text", "/t"},
        };
        for (const auto& [result] : cases) {
            restart();
            m_tab->view();
            m_tab->backend.answer("install_openclaw_skill_zip", result);
            const DialogRobot robot({SkillsTab::chooseFile(m_tab->package(u"a.zip"_s)), DialogRobot::press(ok)});
            m_tab->press("Install Skill");
            QCOMPARE(robot.shown().back().text,
                     u"Agent: main\nTarget: \nRestart: not attempted\nGateway: not attempted"_s);
            QCOMPARE(m_tab->status(), u"Installed skill to ."_s);
        }
    }

    void installsACloudSkillIntoACoreAgent()
    {
        m_tab->view();
        std::vector<QStringList> titles;
        QStringList names;
        const auto pressAfterLook = [&](const QString& button) {
            return [&, button](QDialog& dialog) {
                const auto* popup = dialog.findChild<QComboBox*>();
                QCOMPARE(popup->size(), QSize(420, 26));
                titles.push_back(Controls::titles(*popup));
                names.append(popup->accessibleName());
                DialogRobot::press(button)(dialog);
            };
        };
        const DialogRobot robot({pressAfterLook(u"Install"_s), pressAfterLook(u"Select"_s), DialogRobot::press(ok)});
        m_tab->press("Install Cloud Skill");
        QCOMPARE(titles[0], (QStringList{u"First 一 v1.2 - Does. More"_s, u"second"_s}));
        QCOMPARE(titles[1], (QStringList{u"main (online) - /w"_s, u"2 (idle) - /v"_s}));
        QCOMPARE(names, (QStringList{u"Skill"_s, u"Agent"_s}));
        QCOMPARE(robot.shown()[0].text, u"Cloud catalog is fetched via Nelo Core."_s);
        QCOMPARE(robot.shown()[0].buttons, (QStringList{u"Cancel"_s, u"Install"_s}));
        QCOMPARE(robot.shown()[1].text, u"Choose the target workspace for this skill package."_s);
        QCOMPARE(robot.shown()[1].buttons, (QStringList{u"Cancel"_s, u"Select"_s}));
        QCOMPARE(m_tab->arguments("list_cloud_skills_via_core").dump(), std::string(R"(["openclaw"])"));
        QCOMPARE(m_tab->arguments("list_core_agents").dump(), std::string(R"(["openclaw",true])"));
        QCOMPARE(m_tab->arguments("install_cloud_skill_from_core").dump(), std::string(R"(["openclaw","first","1"])"));
        QCOMPARE(robot.titles(),
                 (QStringList{u"Install Cloud Skill"_s, u"Select OpenClaw Agent"_s, u"Cloud Skill Installed"_s}));
        QCOMPARE(robot.shown().back().text, u"Skill: First 一\nAgent: main\nTarget: /w/skills/first\n"
                                            "Restart: cli (ok)\nGateway: not attempted"_s);
        QCOMPARE(m_tab->status(), u"Installed cloud skill First 一 to /w/skills/first. Restart: cli (ok)"_s);
    }

    void entriesWithTheSameTitleAreChosenByTheirPosition()
    {
        m_tab->view();
        m_tab->backend.answer("list_cloud_skills_via_core",
                              {{{"key", "k"}, {"name", "n"}}, {{"name", "n"}}, {{"key", "l"}, {"name", "n"}}});
        for (const auto& [index, key] : {std::pair(2, "l"), std::pair(1, "")}) {
            const DialogRobot robot({SkillsTab::chooseItem(index, u"Install"_s), SkillsTab::chooseItem(1, u"Select"_s),
                                     DialogRobot::press(ok)});
            m_tab->press("Install Cloud Skill");
            QVERIFY(m_tab->arguments("install_cloud_skill_from_core") == Json({"openclaw", key, "2"}));
        }
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
            restart();
            m_tab->backend.script(function, {Json::parse(step)});
            const QStringList before = m_tab->everything();
            const DialogRobot robot({function != catalogue ? DialogRobot::press(u"Install"_s) : DialogRobot::press(ok),
                                     function == install ? DialogRobot::press(u"Select"_s) : DialogRobot::press(ok)});
            m_tab->press("Install Cloud Skill");
            QCOMPARE(robot.shown().back().title + u": "_s + robot.shown().back().text, alert);
            QCOMPARE(m_tab->functions().back(), function); // and nothing after it
            QCOMPARE(m_tab->everything(), before);
        }
    }

    void theStatusIsSetBeforeTheAlertOpens()
    {
        m_tab->view();
        QStringList seen;
        const auto look = [&](QDialog& dialog) {
            seen.append(m_tab->status());
            DialogRobot::press(ok)(dialog);
        };
        const DialogRobot robot({SkillsTab::chooseFile(m_tab->package(u"a.zip"_s)), look,
                                 DialogRobot::press(u"Install"_s), DialogRobot::press(u"Select"_s), look});
        m_tab->press("Install Skill");
        m_tab->press("Install Cloud Skill");
        QCOMPARE(seen, QStringList({u"Installed skill to /w/skills/a."_s,
                                    u"Installed cloud skill First 一 to /w/skills/first. Restart: cli (ok)"_s}));
        QCOMPARE(m_tab->backend.count("list_skills"), 1); // and neither refreshes the list
    }

private:
    Fresh<SkillsTab> m_tab{this};
};

QTEST_MAIN(TestSkillInstaller)
#include "TestSkillInstaller.moc"
