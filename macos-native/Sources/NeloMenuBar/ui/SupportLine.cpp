#include "ui/SupportLine.h"

#include "ui/TextScale.h"

#include <QLabel>

QLabel* makeSupportLine(int linkSize, QWidget* parent)
{
    const QString introduction = QStringLiteral("Nelo为您提供最简单的AI入口服务。客服请联系我们：");
    const QString address = QStringLiteral(NELO_SUPPORT_URL);
    const QString domain = QStringLiteral(NELO_SUPPORT_DOMAIN);

    auto* line = new QLabel(parent);
    line->setTextFormat(Qt::RichText); // every part of it is ours
    // Left to itself, a link has the colour of the system's theme, whatever it stands on.
    line->setText(QStringLiteral("%1<a href=\"%2\" style=\"font-size:%3px; font-weight:500; "
                                 "text-decoration:underline; color:%4\">%5</a>")
                      .arg(introduction, address.toHtmlEscaped(), QString::number(scaledToFont(linkSize)),
                           line->palette().color(QPalette::Link).name(), domain.toHtmlEscaped()));
    line->setTextInteractionFlags(Qt::TextBrowserInteraction | Qt::TextSelectableByKeyboard);
    line->setOpenExternalLinks(true);
    line->setAlignment(Qt::AlignCenter);
    line->setAccessibleName(introduction + domain);
    return line;
}
