#include "chat/MessageField.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QValidator>

#include <limits>
#include <string_view>

using namespace std::string_view_literals;

namespace {

/// A field asks its validator about every change, however it came; this one only ever mends.
class LineBreaksToBlanks final : public QValidator
{
public:
    using QValidator::QValidator;

    State validate(QString& input, int& cursor) const override
    {
        const int afterCursor = static_cast<int>(withBlanks(input.sliced(cursor)).size());
        input = withBlanks(input);
        cursor = static_cast<int>(input.size()) - afterCursor;
        return Acceptable;
    }

private:
    static QString withBlanks(QString text)
    {
        text.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
        for (const char16_t lineBreak : u"\n\v\f\r\u0085\u2028\u2029"sv)
            text.replace(QChar(lineBreak), u' ');
        return text;
    }
};

} // namespace

MessageField::MessageField(QWidget* parent) : QLineEdit(parent)
{
    setFrame(false);
    setMaxLength(std::numeric_limits<int>::max()); // a pasted document must not lose its end without a word
    setAttribute(Qt::WA_MacShowFocusRect, false);
    setValidator(new LineBreaksToBlanks(this));
}

void MessageField::commitComposition()
{
    QGuiApplication::inputMethod()->commit();
    if (m_composition.isEmpty())
        return;
    // Not every input method knows how to commit: what it has shown so far is what the user means.
    QInputMethodEvent event;
    event.setCommitString(m_composition);
    QGuiApplication::inputMethod()->reset();
    QGuiApplication::sendEvent(this, &event);
}

void MessageField::inputMethodEvent(QInputMethodEvent* event)
{
    QLineEdit::inputMethodEvent(event);
    m_composition = event->preeditString();
}

void MessageField::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && !m_composition.isEmpty()) {
        commitComposition();
        return;
    }
    QLineEdit::keyPressEvent(event);
}
