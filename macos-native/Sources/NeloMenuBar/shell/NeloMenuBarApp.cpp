#include "shell/NeloMenuBarApp.h"

#include "backend/NeloBackend.h"
#include "chat/ChatViewController.h"
#include "platform/Platform.h"
#include "platform/StatusArea.h"
#include "settings/SettingsViewController.h"
#include "shell/ConsoleTabController.h"
#include "shell/LauncherViewController.h"
#include "shell/MenuBarImage.h"
#include "shell/StatusMenu.h"
#include "shell/primitives/NeloWindow.h"
#include "ui/LegibleStyle.h"

#include <QCoreApplication>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>

using namespace std::chrono_literals;
using ActivationPolicy = Platform::ActivationPolicy;

namespace {

/// A desktop that is just starting may show its status area after the programs that it starts.
constexpr std::chrono::milliseconds statusAreaPatience = 1s;

QString productName()
{
    return QStringLiteral("Nelo");
}

std::unique_ptr<NeloWindow> makeWindow(const QString& title, QSize contentSize, ViewController* controller)
{
    auto window = std::make_unique<NeloWindow>(title, contentSize);
    window->setContentViewController(controller);
    return window;
}

void bringForward(NeloWindow& window)
{
    Platform::setActivationPolicy(ActivationPolicy::Regular); // for good, also once all windows are closed
    Platform::activateApplication();
    window.makeKeyAndOrderFront();
}

} // namespace

NeloMenuBarApp::NeloMenuBarApp(std::unique_ptr<StatusArea> statusArea, QObject* parent)
    : QObject(parent), m_statusArea(std::move(statusArea))
{}

NeloMenuBarApp::~NeloMenuBarApp() = default;

void NeloMenuBarApp::applicationDidFinishLaunching()
{
    Platform::setActivationPolicy(ActivationPolicy::Accessory);
    LegibleStyle::install(); // before there is anything to see

    Platform::onReopen(this, [this] { reopen(); });
    makeMenu();
    connect(m_statusArea.get(), &StatusArea::changed, this, &NeloMenuBarApp::followStatusArea);
    if (m_statusArea->isAvailable())
        makeStatusItem();
    else
        QTimer::singleShot(statusAreaPatience, this, &NeloMenuBarApp::followStatusArea);
}

void NeloMenuBarApp::makeMenu()
{
    m_menu = std::make_unique<StatusMenu>();
    m_menu->setAccessibleName(QStringLiteral("Nelo"));
    m_menu->addAction(QStringLiteral("Open Nelo"), this, &NeloMenuBarApp::openNelo);
    m_menu->addAction(QStringLiteral("Open Nelo Console"), this, &NeloMenuBarApp::openNeloConsole);
    m_menu->addAction(QStringLiteral("Settings..."), QKeySequence(Qt::CTRL | Qt::Key_Comma), this,
                      &NeloMenuBarApp::openSettings);
    m_menu->addSeparator();
    m_menu->addAction(QStringLiteral("Quit Nelo"), QKeySequence(Qt::CTRL | Qt::Key_Q), this, &NeloMenuBarApp::quitApp);
}

void NeloMenuBarApp::makeStatusItem()
{
    const QIcon image = menuBarImage();
    m_statusItem = new QSystemTrayIcon(image.isNull() ? Platform::sparklesSymbol() : image, this);
    m_statusItem->setObjectName(QStringLiteral("statusItem"));
    m_statusItem->setToolTip(productName());
    m_statusItem->setContextMenu(m_menu.get());
    Platform::openMenuOnClick(m_statusItem, m_menu.get());
    m_statusItem->show();
}

void NeloMenuBarApp::followStatusArea()
{
    if (m_statusArea->isAvailable()) {
        if (!m_statusItem)
            makeStatusItem();
        if (m_launcherWindow)
            m_launcherWindow->hide();
        return;
    }
    if (!m_launcherWindow)
        m_launcherWindow = makeWindow(productName(), {240, 200}, new LauncherViewController(m_menu->actions()));
    m_launcherWindow->show();
}

void NeloMenuBarApp::applicationWillTerminate()
{
    NeloBackend::shutdown();
}

void NeloMenuBarApp::openNelo()
{
    if (!m_chatWindow)
        m_chatWindow = makeWindow(productName(), {980, 740}, new ChatViewController);
    bringForward(*m_chatWindow);
}

void NeloMenuBarApp::openNeloConsole()
{
    if (!m_consoleWindow)
        m_consoleWindow = makeWindow(QStringLiteral("Nelo Console"), {1000, 720}, new ConsoleTabController);
    bringForward(*m_consoleWindow);
}

void NeloMenuBarApp::openSettings()
{
    if (!m_settingsWindow)
        m_settingsWindow = makeWindow(QStringLiteral("Nelo Settings"), {640, 620}, new SettingsViewController);
    bringForward(*m_settingsWindow);
}

void NeloMenuBarApp::reopen()
{
    if (m_menu) // launching has finished
        followStatusArea();
    openNelo();
}

void NeloMenuBarApp::quitApp()
{
    QCoreApplication::quit();
}
