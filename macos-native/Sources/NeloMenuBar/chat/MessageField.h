#pragma once

#include <QClipboard>
#include <QLineEdit>

/// The one-line message input, without a frame. A line break in text that is pasted, dropped or composed becomes a
/// blank before it is inserted, so that every change can be undone.
///
/// A Return that ends an input method's composition does not emit `returnPressed()`. While nothing is selected here,
/// the parent widget gets the key for Copy.
class MessageField final : public QLineEdit
{
    Q_OBJECT

public:
    explicit MessageField(QWidget* parent = nullptr);

    /// Ends a composition in progress. The text that is being composed is inserted.
    void commitComposition();
    /// Inserts the clipboard's text as one undo step.
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
