#include "shell/primitives/TextBlockController.h"

#include "ui/Labels.h"

#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QVBoxLayout>

TextBlockController::TextBlockController(QString content, QWidget* parent)
    : ViewController(parent), m_content(std::move(content))
{}

void TextBlockController::loadView()
{
    auto* text = new QPlainTextEdit(m_content, this);
    text->setObjectName(QStringLiteral("textView"));
    text->setReadOnly(true);
    text->setFrameShape(QFrame::NoFrame);
    text->viewport()->setAutoFillBackground(false);
    text->setFont(fontOfSize(QFontDatabase::systemFont(QFontDatabase::FixedFont), 12));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(text);
}
