#include "shell/NeloMenuBarApp.h"

#include "backend/NeloBackend.h"
#include "chat/ChatViewController.h"
#include "platform/Platform.h"
#include "settings/SettingsViewController.h"
#include "shell/ConsoleTabController.h"
#include "shell/LauncherViewController.h"
#include "shell/MenuBarImage.h"
#include "shell/primitives/NeloWindow.h"
#include "ui/LegibleStyle.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMenu>

#include <algorithm>

using ActivationPolicy = Platform::ActivationPolicy;

namespace {

QString productName()
{
    return QStringLiteral("Nelo");
}

/// The status item's menu. The shortcuts of its items work while it is open. Qt looks for shortcuts in windows only,
/// and the menu belongs to no window.
class StatusMenu final : public QMenu
{
protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        const QKeySequence pressed(event->keyCombination());
        const QList<QAction*> items = actions();
        const auto item = std::find_if(items.begin(), items.end(), [&pressed](const QAction* action) {
            return !action->shortcut().isEmpty() && action->shortcut() == pressed;
        });
        if (item == items.end()) {
            QMenu::keyPressEvent(event);
            return;
        }
        close();
        (*item)->trigger();
    }
};

template <typename Controller> ViewController* make()
{
    return new Controller;
}

} // namespace

NeloMenuBarApp::NeloMenuBarApp(std::unique_ptr<Platform> platform, std::chrono::milliseconds timeout, QObject* parent)
    : QObject(parent), m_statusAreaTimeout(timeout), m_platform(std::move(platform))
{
    m_launcherTimer.setSingleShot(true);
    connect(&m_launcherTimer, &QTimer::timeout, this, &NeloMenuBarApp::showLauncher);
}

NeloMenuBarApp::~NeloMenuBarApp() = default;

void NeloMenuBarApp::applicationDidFinishLaunching()
{
    m_platform->setActivationPolicy(ActivationPolicy::Accessory);
    followColorScheme(); // before the first window is made

    makeMenu();
    const QIcon image = menuBarImage();
    m_platform->showStatusItem(productName(), image.isNull() ? m_platform->sparklesSymbol() : image, m_menu.get());
    connect(m_platform.get(), &Platform::reopened, this, &NeloMenuBarApp::reopen);
    connect(m_platform.get(), &Platform::statusAreaChanged, this, &NeloMenuBarApp::followStatusArea);
    connect(m_platform.get(), &Platform::colorSchemeChanged, this, &NeloMenuBarApp::followColorScheme);
    followStatusArea();
}

void NeloMenuBarApp::makeMenu()
{
    m_menu = std::make_unique<StatusMenu>();
    m_menu->setAccessibleName(productName());
    m_menu->addAction(QStringLiteral("Open Nelo"), this, &NeloMenuBarApp::openNelo);
    m_menu->addAction(QStringLiteral("Open Nelo Console"), this, &NeloMenuBarApp::openNeloConsole);
    m_menu->addAction(QStringLiteral("Settings..."), QKeySequence(Qt::CTRL | Qt::Key_Comma), this,
                      &NeloMenuBarApp::openSettings);
    m_menu->addSeparator();
    m_menu->addAction(QStringLiteral("Quit Nelo"), QKeySequence(Qt::CTRL | Qt::Key_Q), this, &NeloMenuBarApp::quitApp);
}

void NeloMenuBarApp::followStatusArea()
{
    if (!m_platform->hasStatusArea()) {
        const auto startOfSession = sessionStartTimeout - m_platform->sessionAge().value_or(sessionStartTimeout);
        m_launcherTimer.start(std::max(m_statusAreaTimeout, startOfSession));
        return;
    }
    m_launcherTimer.stop();
    if (m_launcherWindow)
        m_launcherWindow->hide();
}

void NeloMenuBarApp::followColorScheme()
{
    LegibleStyle::install(m_platform->colorScheme());
}

void NeloMenuBarApp::showLauncher()
{
    if (!m_launcherWindow) {
        m_launcherWindow = std::make_unique<NeloWindow>(QStringLiteral("Nelo Launcher"), QSize(240, 200));
        m_launcherWindow->setContentViewController(new LauncherViewController(m_menu->actions()));
        m_launcherWindow->setAttribute(Qt::WA_ShowWithoutActivating); // the user has not asked for it
    }
    m_launcherWindow->show();
}

void NeloMenuBarApp::applicationWillTerminate()
{
    NeloBackend::shutdown();
}

void NeloMenuBarApp::openNelo()
{
    show(m_chatWindow, productName(), {980, 740}, make<ChatViewController>);
}

void NeloMenuBarApp::openNeloConsole()
{
    show(m_consoleWindow, QStringLiteral("Nelo Console"), {1000, 720}, make<ConsoleTabController>);
}

void NeloMenuBarApp::openSettings()
{
    show(m_settingsWindow, QStringLiteral("Nelo Settings"), {640, 620}, make<SettingsViewController>);
}

void NeloMenuBarApp::show(std::unique_ptr<NeloWindow>& window, const QString& title, QSize size,
                          ViewController* (*makeController)())
{
    if (QWidget* alert = QApplication::activeModalWidget()) { // the user must answer it before any window can be used
        if (window && window->isMinimized())
            bringForward(*window);
        alert->raise();
        alert->activateWindow();
        return;
    }
    if (!window) {
        window = std::make_unique<NeloWindow>(title, size);
        window->setContentViewController(makeController());
    }
    bringForward(*window);
}

void NeloMenuBarApp::bringForward(NeloWindow& window)
{
    m_platform->activateApplication();
    m_platform->setActivationPolicy(ActivationPolicy::Regular); // it stays so when all windows are closed
    m_platform->activateApplication();
    m_platform->prepareToShow(window);
    window.makeKeyAndOrderFront();
}

void NeloMenuBarApp::comeForward(const QByteArray& token)
{
    m_platform->setActivationToken(token);
    if (m_menu && !m_platform->hasStatusArea()) // without a menu the launch has not finished
        showLauncher();
    openNelo();
}

void NeloMenuBarApp::reopen()
{
    for (const auto* window : {&m_settingsWindow, &m_consoleWindow, &m_chatWindow}) {
        if (*window && (*window)->isVisible())
            return bringForward(**window);
    }
    openNelo();
}

void NeloMenuBarApp::quitApp()
{
    QCoreApplication::quit();
}
