#include "shell/primitives/PlaceholderInfoController.h"

#include "ui/Labels.h"

#include <QVBoxLayout>

PlaceholderInfoController::PlaceholderInfoController(QString titleText, QString bodyText, QWidget* parent)
    : ViewController(parent), m_titleText(std::move(titleText)), m_bodyText(std::move(bodyText))
{}

void PlaceholderInfoController::loadView()
{
    auto* title = new Label(m_titleText, this);
    title->setFont(fontOfSize(font(), 18, QFont::Bold));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 24, 24, 0);
    layout->setSpacing(10);
    layout->addWidget(title);
    if (!m_bodyText.isEmpty()) {
        auto* body = new WrappingLabel(m_bodyText, this);
        body->setEmphasis(Emphasis::Secondary);
        layout->addWidget(body);
    }
    layout->addStretch();
}
