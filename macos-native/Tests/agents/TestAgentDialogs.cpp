#include "agents/AgentDialogs.h"

#include "agents/AgentAnswers.h"
#include "support/Cases.h"
#include "support/Warnings.h"
#include "ui/Colors.h"
#include "ui/Labels.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QScopeGuard>
#include <QTest>

using namespace Qt::StringLiterals;

using AgentAnswers::ecosystemPopup;
using AgentAnswers::nameField;

namespace {

const DialogRobot::Answer& cancel()
{
    static const DialogRobot::Answer answer = DialogRobot::press(u"Cancel"_s);
    return answer;
}

} // namespace

/// The dialogs of the Agents tab.
class TestAgentDialogs final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aNewAgentIsAskedForAsGiven()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            QStringList items;
            for (int item = 0; item < ecosystemPopup(dialog)->count(); ++item)
                items.append(ecosystemPopup(dialog)->itemText(item));
            QCOMPARE(items, u"openclaw,codex,kimi"_s.split(u','));
            QCOMPARE(ecosystemPopup(dialog)->currentText(), u"openclaw"_s);
            QCOMPARE(nameField(dialog)->text(), u"openclaw 20250101-093000"_s);
            QStringList labels;
            for (const QLabel* label : ecosystemPopup(dialog)->parentWidget()->findChildren<QLabel*>())
                labels.append(label->text());
            labels.sort();
            QCOMPARE(labels, QStringList({u"Ecosystem"_s, u"Name"_s,
                                          u"Workspace uses the default path automatically. For openclaw, "
                                          "Nelo will launch install/configure flow after creating the "
                                          "record."_s}));
            cancel()(dialog);
        }});
        askForNewAgent(nullptr, u"20250101-093000"_s);
        QCOMPARE(robot.titles(), QStringList{u"Add Agent"_s});
        QCOMPARE(robot.shown().at(0).text, u"Create a managed agent record."_s);
        QCOMPARE(robot.shown().at(0).buttons, QStringList({u"Cancel"_s, u"Create"_s}));
        QCOMPARE(robot.shown().at(0).defaultButton, u"Create"_s);
    }

    void theNewAgentsFormHasTheGivenSizes()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            const QWidget* form = ecosystemPopup(dialog)->parentWidget();
            QCOMPARE(form->size(), QSize(520, 126));
            QCOMPARE(ecosystemPopup(dialog)->geometry(), QRect(100, 4, 280, 26));
            QCOMPARE(nameField(dialog)->geometry(), QRect(100, 4 + 26 + 12, 320, 24));
            for (const QLabel* label : form->findChildren<QLabel*>()) {
                QVERIFY(form->rect().contains(label->geometry()));
                QVERIFY(label->height() >= label->heightForWidth(label->width())); // nothing of it is cut off
                if (label->wordWrap())
                    QCOMPARE(label->geometry().top(), 4 + 26 + 12 + 24 + 12);
            }
            cancel()(dialog);
        }});
        askForNewAgent(nullptr, u"20250101-093000"_s);
        QCOMPARE(robot.shown().size(), 1U);
    }

    void theNewAgentsFormGrowsWithItsNote()
    {
        const QFont before = QApplication::font();
        const auto restored = qScopeGuard([&before] { QApplication::setFont(before); });
        QFont wide = before;
        wide.setLetterSpacing(QFont::PercentageSpacing, 300);
        QApplication::setFont(wide);
        const DialogRobot robot({[](QDialog& dialog) {
            const QWidget* form = ecosystemPopup(dialog)->parentWidget();
            const auto* note = form->findChild<QLabel*>(u"note"_s);
            QVERIFY(form->height() > 126);
            QCOMPARE(note->height(), note->heightForWidth(note->width()));
            QCOMPARE(form->height(), note->geometry().bottom() + 1 + 4);
            cancel()(dialog);
        }});
        askForNewAgent(nullptr, u"20250101-093000"_s);
        QCOMPARE(robot.shown().size(), 1U);
    }

    void theNewAgentsFormIsFilledInByKeyboard()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            QVERIFY(ecosystemPopup(dialog)->hasFocus());
            QTest::keyClick(ecosystemPopup(dialog), Qt::Key_Down);
            QTest::keyClick(ecosystemPopup(dialog), Qt::Key_Tab);
            QVERIFY(nameField(dialog)->hasFocus());
            QTest::keyClicks(nameField(dialog), u"typed"_s);
            QTest::keyClick(nameField(dialog), Qt::Key_Return);
        }});
        const std::optional<NewAgentChoice> choice = askForNewAgent(nullptr, u"20250101-093000"_s);
        QVERIFY(choice);
        QCOMPARE(choice->ecosystem, u"codex"_s);
        QCOMPARE(choice->name, u"typed"_s); // Tab selects what is there, so that typing replaces it
    }

    void aNewAgentIsWhatWasChosen()
    {
        const DialogRobot robot({AgentAnswers::create(u"kimi"_s, u" 名 "_s)});
        const std::optional<NewAgentChoice> choice = askForNewAgent(nullptr, u"20250101-093000"_s);
        QVERIFY(choice);
        QCOMPARE(choice->ecosystem, u"kimi"_s);
        QCOMPARE(choice->name, u" 名 "_s);
    }

    void anotherEcosystemLeavesTheNameAlone()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            ecosystemPopup(dialog)->setCurrentText(u"kimi"_s);
            DialogRobot::press(u"Create"_s)(dialog);
        }});
        QCOMPARE(askForNewAgent(nullptr, u"20250101-093000"_s)->name, u"openclaw 20250101-093000"_s);
    }

    void withoutASelectedEcosystemItIsTheFirst()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            ecosystemPopup(dialog)->setCurrentIndex(-1);
            DialogRobot::press(u"Create"_s)(dialog);
        }});
        QCOMPARE(askForNewAgent(nullptr, u"20250101-093000"_s)->ecosystem, u"openclaw"_s);
    }

    void aNameIsAskedForAsGiven()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            QCOMPARE(nameField(dialog)->text(), u"<i>名</i>"_s);
            QCOMPARE(nameField(dialog)->size(), QSize(280, 24));
            QCOMPARE(nameField(dialog)->accessibleName(), u"Name"_s);
            QVERIFY(nameField(dialog)->hasFocus());
            QCOMPARE(nameField(dialog)->selectedText(), u"<i>名</i>"_s);
            cancel()(dialog);
        }});
        askForName(nullptr, u"Rename Agent"_s, u"codex/<b>a</b>"_s, u"<i>名</i>"_s);
        QCOMPARE(robot.titles(), QStringList{u"Rename Agent"_s});
        QCOMPARE(robot.shown().at(0).text, u"codex/<b>a</b>"_s);
        QCOMPARE(robot.shown().at(0).buttons, QStringList({u"Cancel"_s, u"Save"_s}));
        QCOMPARE(robot.shown().at(0).defaultButton, u"Save"_s);
    }

    void aFormRowPutsItsLabelBesideTheField()
    {
        QWidget form;
        auto* field = new QLineEdit(&form);
        form.setLayout(labelRow(u"A label that is too long for its room"_s, field));
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        const auto* label = form.findChild<QLabel*>();
        QCOMPARE(label->width(), 90);
        QCOMPARE(label->alignment(), Qt::AlignRight | Qt::AlignVCenter);
        QCOMPARE(label->buddy(), field);
        QCOMPARE(field->geometry().left(), label->geometry().right() + 1 + 10);
        QVERIFY(field->minimumWidth() >= 280);
        QVERIFY(qAbs(field->geometry().center().y() - label->geometry().center().y()) <= 1);
    }

    void aFormRowWidensAFieldThatIsFixedTooNarrow()
    {
        QWidget form;
        auto* field = new QLineEdit(&form);
        field->setFixedWidth(120);
        form.setLayout(labelRow(u"Name"_s, field));
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        QCOMPARE(field->width(), 280);
        QCOMPARE(field->maximumWidth(), 280); // no more than it needs
    }
};

QTEST_MAIN(TestAgentDialogs)
#include "TestAgentDialogs.moc"
