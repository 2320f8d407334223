#include "support/DialogRobot.h"

#include <QApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <algorithm>

namespace {

QList<QPushButton*> buttonsOf(const QDialog& dialog)
{
    QList<QPushButton*> buttons = dialog.findChildren<QPushButton*>();
    std::sort(buttons.begin(), buttons.end(),
              [](const QPushButton* one, const QPushButton* other) { return one->x() < other->x(); });
    return buttons;
}

DialogRobot::Shown describe(const QDialog& dialog)
{
    DialogRobot::Shown shown;
    const auto* title = dialog.findChild<QLabel*>(QStringLiteral("messageText"));
    const auto* text = dialog.findChild<QPlainTextEdit*>(QStringLiteral("informativeText"));
    shown.title = title ? title->text() : dialog.windowTitle(); // a file panel has neither
    shown.text = text ? text->toPlainText() : QString();
    for (const QPushButton* button : buttonsOf(dialog)) {
        shown.buttons.append(button->accessibleName());
        if (button->isDefault())
            shown.defaultButton = button->accessibleName();
    }
    return shown;
}

} // namespace

DialogRobot::DialogRobot(std::vector<Answer> answers) : m_answers(std::move(answers))
{
    std::reverse(m_answers.begin(), m_answers.end());
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &DialogRobot::answerDialog);
    timer->start(0);
}

QStringList DialogRobot::titles() const
{
    QStringList titles;
    for (const Shown& dialog : m_shown)
        titles.append(dialog.title);
    return titles;
}

QString DialogRobot::alertOf(const std::function<void()>& action)
{
    const DialogRobot robot({press(QStringLiteral("OK"))});
    action();
    return robot.shown().size() == 1 ? robot.shown()[0].title + QStringLiteral(": ") + robot.shown()[0].text
                                     : QString();
}

DialogRobot::Answer DialogRobot::press(const QString& button)
{
    return [button](QDialog& dialog) {
        for (QPushButton* candidate : buttonsOf(dialog)) {
            if (candidate->accessibleName() == button) {
                QTest::mouseClick(candidate, Qt::LeftButton);
                return;
            }
        }
        QFAIL(qPrintable(QStringLiteral("no button ") + button));
    };
}

DialogRobot::Answer DialogRobot::press(Qt::Key key)
{
    return [key](QDialog& dialog) {
        QWidget* focused = dialog.focusWidget();
        QTest::keyClick(focused ? focused : &dialog, key);
    };
}

void DialogRobot::answerDialog()
{
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog || dialog == m_answered || !dialog->isActiveWindow())
        return;
    m_answered = dialog;
    m_shown.push_back(describe(*dialog));
    if (!m_answers.empty()) {
        const Answer answer = std::move(m_answers.back());
        m_answers.pop_back();
        answer(*dialog);
    }
    if (m_answered && m_answered->isVisible())
        m_answered->reject(); // an answer that failed its test must not keep the others waiting
}
