// What Qt alone costs: a tray icon with the same menu and nothing behind it.

#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QSystemTrayIcon>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QMenu menu;
    menu.addAction(QStringLiteral("Open Nelo"));
    menu.addAction(QStringLiteral("Open Nelo Console"));
    menu.addAction(QStringLiteral("Settings..."), QKeySequence(Qt::CTRL | Qt::Key_Comma), &application, [] {});
    menu.addSeparator();
    menu.addAction(QStringLiteral("Quit Nelo"), QKeySequence(Qt::CTRL | Qt::Key_Q), &application, &QApplication::quit);

    QPixmap picture(22, 22);
    picture.fill(Qt::darkBlue);
    QSystemTrayIcon icon{QIcon(picture)};
    icon.setToolTip(QStringLiteral("Nelo"));
    icon.setContextMenu(&menu);
    icon.show();
    return QApplication::exec();
}
