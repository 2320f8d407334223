#pragma once

#include <QObject>

#include <memory>

class NeloWindow;
class QMenu;
class QSystemTrayIcon;
class StatusArea;

/// The application's delegate: owns the status item, its menu and the three windows, and ends the helper when the
/// application ends.
class NeloMenuBarApp final : public QObject
{
    Q_OBJECT

public:
    /// `statusArea` is where the status item is to be shown.
    explicit NeloMenuBarApp(std::unique_ptr<StatusArea> statusArea, QObject* parent = nullptr);
    NeloMenuBarApp(const NeloMenuBarApp&) = delete;
    NeloMenuBarApp& operator=(const NeloMenuBarApp&) = delete;
    ~NeloMenuBarApp() override;

    /// Builds the menu and, as soon as there is a status area, the status item. Nothing else starts: no window, no
    /// helper, no file but the custom image is read.
    void applicationDidFinishLaunching();
    /// Ends the helper process; waits for a backend call in progress.
    void applicationWillTerminate();

    /// Each shows its window in front, made on first use and kept for the application's lifetime.
    void openNelo();
    void openNeloConsole();
    void openSettings();
    /// Shows the chat, and where there is no status area the window that stands in for it.
    void reopen();
    /// Asks the application to terminate.
    void quitApp();

private:
    void makeMenu();
    void makeStatusItem();
    /// Shows the menu's entries in a window for as long as there is no status area to open the menu from.
    void followStatusArea();

    std::unique_ptr<StatusArea> m_statusArea;
    std::unique_ptr<QMenu> m_menu;
    QSystemTrayIcon* m_statusItem = nullptr; // child of this, once there has been a status area
    std::unique_ptr<NeloWindow> m_launcherWindow;
    std::unique_ptr<NeloWindow> m_chatWindow;
    std::unique_ptr<NeloWindow> m_consoleWindow;
    std::unique_ptr<NeloWindow> m_settingsWindow;
};
