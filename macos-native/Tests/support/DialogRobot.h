#pragma once

#include <QDialog>
#include <QPointer>
#include <QStringList>

#include <functional>
#include <vector>

/// Answers the modal dialogs that come up while it lives, as a person would: each with the next of its answers, once it
/// is on the screen. A dialog for which no answer is left is cancelled.
class DialogRobot final : public QObject
{
    Q_OBJECT

public:
    /// What is done to a dialog; the last thing in it closes the dialog.
    using Answer = std::function<void(QDialog& dialog)>;

    /// What a dialog showed.
    struct Shown
    {
        QString title;
        QString text;
        QStringList buttons; // from left to right
        QString defaultButton;
    };

    explicit DialogRobot(std::vector<Answer> answers = {});

    const std::vector<Shown>& shown() const { return m_shown; }
    /// The titles alone, oldest first.
    QStringList titles() const;

    /// Does `action`, which brings up one alert, and presses its OK. Returns the title and the text of the alert;
    /// nothing when there was none, or more than one.
    static QString alertOf(const std::function<void()>& action);

    static Answer press(const QString& button);
    static Answer press(Qt::Key key);

private:
    void answerDialog();

    std::vector<Answer> m_answers;
    std::vector<Shown> m_shown;
    QPointer<QDialog> m_answered;
};
