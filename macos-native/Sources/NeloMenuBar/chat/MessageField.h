#pragma once

#include <QClipboard>
#include <QLineEdit>

/// The one-line message input: no frame, and line breaks in what is pasted, dropped or composed become blanks before
/// they enter, so that every change can be undone.
///
/// A Return that ends an input method's composition is not `returnPressed()`. Copy goes on to the parent widget while
/// nothing is selected here.
class MessageField final : public QLineEdit
{
    Q_OBJECT

public:
    explicit MessageField(QWidget* parent = nullptr);

    /// Ends a composition in progress; what is being composed becomes text.
    void commitComposition();
    /// Inserts the clipboard's text as one step of undoing.
    void paste(QClipboard::Mode mode = QClipboard::Clipboard);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void beginUndoStep();

    QString m_composition;
};
