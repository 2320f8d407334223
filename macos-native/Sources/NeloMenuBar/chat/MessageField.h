#pragma once

#include <QLineEdit>

/// The one-line message input: no frame, and line breaks that come in by pasting or dropping become blanks.
///
/// A Return that ends an input method's composition is not `returnPressed()`.
class MessageField final : public QLineEdit
{
    Q_OBJECT

public:
    explicit MessageField(QWidget* parent = nullptr);

    /// Ends a composition in progress; what is being composed becomes text.
    void commitComposition();

protected:
    void inputMethodEvent(QInputMethodEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QString m_composition;
};
