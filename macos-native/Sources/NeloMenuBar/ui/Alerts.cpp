#include "ui/Alerts.h"

#include "backend/NeloBackend.h"
#include "ui/Buttons.h"
#include "ui/InformativeText.h"
#include "ui/Labels.h"
#include "ui/TextScale.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>

namespace {

/// The dialog has no parent widget: when its window is deleted while it is open, the dialog and its accessory stay.
class AlertDialog final : public QDialog
{
public:
    AlertDialog(const QWidget* parent, const QString& title, const QString& text, QWidget* accessory)
        : m_available((parent ? parent->screen() : screen())->availableGeometry())
    {
        const int textWidth = scaledWindowSize({420, 0}).width();
        setWindowTitle(title);
        setModal(true);
        setAccessibleDescription(text); // a screen reader reads it with the title
        auto* messageText = new Label(title, this);
        messageText->setObjectName(QStringLiteral("messageText"));
        messageText->setFont(fontOfSize(font(), 15, QFont::Bold));
        auto* informativeText = new InformativeText(text, textWidth, m_available.height() / 2, this);
        informativeText->setObjectName(QStringLiteral("informativeText"));

        auto* column = new QVBoxLayout(this);
        column->setContentsMargins(20, 20, 20, 20);
        column->setSpacing(12);
        column->addWidget(messageText);
        column->addWidget(informativeText);
        if (accessory)
            column->addWidget(accessory, 0, Qt::AlignLeft);
        m_buttons = new QHBoxLayout;
        m_buttons->addStretch();
        column->addLayout(m_buttons);
    }

    /// Adds a button to the left of the other buttons.
    QPushButton* addButton(const QString& title)
    {
        QPushButton* button = makeButton(title, this);
        button->setAutoDefault(true); // Return presses the button with the keyboard focus
        m_buttons->insertWidget(1, button);
        return button;
    }

    /// Adds the button that accepts the dialog. Return presses it.
    QPushButton* addDefaultButton(const QString& title)
    {
        QPushButton* button = addButton(title);
        button->setDefault(true);
        connect(button, &QPushButton::clicked, this, &QDialog::accept);
        return button;
    }

    DialogAnswer runFor(const QWidget* parent)
    {
        if (parent)
            placeOver(*parent->window());
        return exec() == Accepted ? DialogAnswer::Accepted : DialogAnswer::Cancelled;
    }

private:
    void placeOver(const QWidget& window)
    {
        winId(); // makes the native window
        windowHandle()->setTransientParent(window.windowHandle());
        adjustSize();
        const QPoint corner = window.frameGeometry().center() - rect().center();
        move(std::clamp(corner.x(), m_available.left(), std::max(m_available.left(), m_available.right() - width())),
             std::clamp(corner.y(), m_available.top(), std::max(m_available.top(), m_available.bottom() - height())));
    }

    QRect m_available;
    QHBoxLayout* m_buttons = nullptr;
};

/// Gives the keyboard to `accessory`, or to its first field if it is a form.
void focusOn(QWidget* accessory)
{
    QWidget* field = accessory;
    while (field->focusPolicy() == Qt::NoFocus && accessory->isAncestorOf(field->nextInFocusChain()))
        field = field->nextInFocusChain();
    field->setFocus();
}

} // namespace

void showAlert(QWidget* parent, const QString& title, const QString& text)
{
    AlertDialog dialog(parent, title, text, nullptr);
    dialog.addDefaultButton(QStringLiteral("OK"))->setFocus();
    dialog.runFor(parent);
}

DialogAnswer runDialog(QWidget* parent, const QString& title, const QString& text, QWidget* accessory,
                       const QString& firstButton)
{
    AlertDialog dialog(parent, title, text, accessory);
    QPushButton* first = dialog.addDefaultButton(firstButton);
    QObject::connect(dialog.addButton(QStringLiteral("Cancel")), &QPushButton::clicked, &dialog, &QDialog::reject);
    if (accessory)
        focusOn(accessory);
    else
        first->setFocus();
    const DialogAnswer answer = dialog.runFor(parent);
    if (accessory)
        accessory->setParent(nullptr);
    return answer;
}

std::optional<BackendReply> callOrAlert(QWidget* parent, const QString& failureTitle, std::string_view function,
                                        const std::vector<Json>& args)
{
    const BackendReply reply(NeloBackend::call(function, args));
    if (!reply.isError())
        return reply;
    showAlert(parent, failureTitle, reply.text());
    return std::nullopt;
}
