#include "shell/primitives/Alerts.h"

#include "shell/primitives/Buttons.h"
#include "shell/primitives/Labels.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>

namespace {

/// The informative text: wraps, can be selected, and is as high as it must be, up to a part of the screen; beyond that
/// it scrolls.
class InformativeText final : public QPlainTextEdit
{
public:
    InformativeText(const QString& text, int preferredWidth, int maximumHeight, QWidget* parent)
        : QPlainTextEdit(parent), m_preferredWidth(preferredWidth), m_maximumHeight(maximumHeight)
    {
        setObjectName(QStringLiteral("informativeText"));
        setReadOnly(true);
        setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        setFrameShape(QFrame::NoFrame);
        setTabChangesFocus(true);
        viewport()->setAutoFillBackground(false);
        document()->setDocumentMargin(0);
        setPlainText(text);
        setAccessibleName(text);
        setVerticalScrollBarPolicy(isTall(text) ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    }

    QSize sizeHint() const override { return {m_preferredWidth, std::min(heightOf(toPlainText()), m_maximumHeight)}; }
    QSize minimumSizeHint() const override { return {0, std::min(sizeHint().height(), fontMetrics().height())}; }

private:
    bool isTall(const QString& text) const { return heightOf(text) > m_maximumHeight; }

    int heightOf(const QString& text) const
    {
        constexpr qsizetype plenty = 20'000; // fills any screen: the rest need not be measured
        const QRect bounds(0, 0, m_preferredWidth, QWIDGETSIZE_MAX);
        const QRect needed = fontMetrics().boundingRect(
            bounds, static_cast<int>(Qt::TextWordWrap) | static_cast<int>(Qt::TextWrapAnywhere), text.left(plenty));
        return needed.height() + fontMetrics().height();
    }

    int m_preferredWidth;
    int m_maximumHeight;
};

/// Has no parent widget: whatever happens to the window it belongs to while it is open, the dialog stays whole until
/// its caller is done with it.
class AlertDialog final : public QDialog
{
public:
    AlertDialog(const QString& title, const QString& text, QWidget* accessory)
    {
        constexpr int textWidth = 420;
        setWindowTitle(title);
        setModal(true);
        auto* titleLabel = new Label(title, this);
        titleLabel->setObjectName(QStringLiteral("messageText"));
        titleLabel->setFont(fontOfSize(font(), 15, QFont::Bold));

        auto* column = new QVBoxLayout(this);
        column->setContentsMargins(20, 20, 20, 20);
        column->setSpacing(12);
        column->addWidget(titleLabel);
        column->addWidget(new InformativeText(text, textWidth, screen()->availableGeometry().height() / 2, this));
        if (accessory)
            column->addWidget(accessory, 0, Qt::AlignLeft);
        m_buttons = new QHBoxLayout;
        m_buttons->addStretch();
        column->addLayout(m_buttons);
    }

    /// The first button is the rightmost.
    QPushButton* addButton(const QString& title)
    {
        QPushButton* button = makeButton(title, this);
        m_buttons->insertWidget(1, button);
        return button;
    }

    DialogAnswer runFor(const QWidget* parent)
    {
        if (parent) {
            winId(); // makes the native window, which knows what it belongs to
            windowHandle()->setTransientParent(parent->window()->windowHandle());
            adjustSize();
            move(parent->window()->frameGeometry().center() - rect().center());
        }
        return exec() == Accepted ? DialogAnswer::Accepted : DialogAnswer::Cancelled;
    }

private:
    QHBoxLayout* m_buttons = nullptr;
};

/// A button that Return presses and that has the keyboard unless the accessory takes it.
void makeDefault(QPushButton* button, QDialog& dialog)
{
    button->setDefault(true);
    QObject::connect(button, &QPushButton::clicked, &dialog, &QDialog::accept);
}

} // namespace

void showAlert(QWidget* parent, const QString& title, const QString& text)
{
    AlertDialog dialog(title, text, nullptr);
    QPushButton* ok = dialog.addButton(QStringLiteral("OK"));
    makeDefault(ok, dialog);
    ok->setFocus();
    dialog.runFor(parent);
}

DialogAnswer runDialog(QWidget* parent, const QString& title, const QString& text, QWidget* accessory,
                       const QString& firstButton)
{
    AlertDialog dialog(title, text, accessory);
    QPushButton* first = dialog.addButton(firstButton);
    makeDefault(first, dialog);
    QPushButton* cancel = dialog.addButton(QStringLiteral("Cancel"));
    QObject::connect(cancel, &QPushButton::clicked, &dialog, &QDialog::reject);
    if (accessory)
        accessory->setFocus();
    else
        first->setFocus();
    const DialogAnswer answer = dialog.runFor(parent);
    if (accessory)
        accessory->setParent(nullptr);
    return answer;
}
