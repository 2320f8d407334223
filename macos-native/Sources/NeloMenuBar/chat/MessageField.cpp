#include "chat/MessageField.h"

#include "ui/SingleLine.h"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QMenu>
#include <QMimeData>

#include <limits>

namespace {

QString withBlanks(QString text)
{
    return withoutLineBreaks(text.replace(QStringLiteral("\r\n"), QStringLiteral(" ")));
}

} // namespace

// A validator cannot remove line breaks: a line edit clears its undo history when a validator changes the text.
MessageField::MessageField(QWidget* parent) : QLineEdit(parent)
{
    setFrame(false);
    setMaxLength(std::numeric_limits<int>::max()); // a long text that is pasted is not cut
    setAttribute(Qt::WA_MacShowFocusRect, false);
}

void MessageField::commitComposition()
{
    QGuiApplication::inputMethod()->commit();
    if (m_composition.isEmpty())
        return;
    // Some input methods cannot commit. Then the text that they show is inserted.
    QInputMethodEvent event;
    event.setCommitString(m_composition);
    QGuiApplication::inputMethod()->reset();
    QGuiApplication::sendEvent(this, &event);
}

void MessageField::paste(QClipboard::Mode mode)
{
    beginUndoStep();
    insert(withBlanks(QGuiApplication::clipboard()->text(mode)));
    beginUndoStep();
}

void MessageField::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QList<QAction*> actions = menu->actions();
    for (QAction* action : actions) {
        if (!action->text().startsWith(QLineEdit::tr("&Paste")))
            continue;
        action->disconnect(this); // from QLineEdit::paste()
        connect(action, &QAction::triggered, this, [this] { paste(); });
    }
    menu->popup(event->globalPos());
}

void MessageField::dropEvent(QDropEvent* event)
{
    QMimeData oneLine;
    oneLine.setText(withBlanks(event->mimeData()->text()));
    QDropEvent cleaned(event->position(), event->possibleActions(), &oneLine, event->buttons(), event->modifiers());
    QLineEdit::dropEvent(&cleaned);
    event->setAccepted(cleaned.isAccepted());
}

void MessageField::inputMethodEvent(QInputMethodEvent* event)
{
    QInputMethodEvent cleaned(event->preeditString(), event->attributes());
    cleaned.setCommitString(withBlanks(event->commitString()), event->replacementStart(), event->replacementLength());
    QLineEdit::inputMethodEvent(&cleaned);
    event->setAccepted(cleaned.isAccepted());
    m_composition = event->preeditString();
}

void MessageField::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && !m_composition.isEmpty())
        commitComposition();
    else if (event->matches(QKeySequence::Paste))
        paste();
    else if (event->matches(QKeySequence::Copy) && !hasSelectedText())
        event->ignore(); // the text to copy may be selected in another widget
    else
        QLineEdit::keyPressEvent(event);
}

void MessageField::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::MiddleButton || !QGuiApplication::clipboard()->supportsSelection()) {
        QLineEdit::mouseReleaseEvent(event);
        return;
    }
    deselect();
    paste(QClipboard::Selection);
}

/// Begins a new undo step by moving the cursor to and fro. Without a selection, a line edit joins insertions into one
/// step unless the cursor has moved between them.
void MessageField::beginUndoStep()
{
    if (hasSelectedText())
        return;
    const int position = cursorPosition();
    setCursorPosition(position == 0 ? 1 : position - 1);
    setCursorPosition(position);
}
