#pragma once

#include <QObject>

#include <memory>

class NeloWindow;
class QMenu;
class QSystemTrayIcon;

/// The application's delegate: owns the status item, its menu and the three windows, and ends the helper when the
/// application ends.
class NeloMenuBarApp final : public QObject
{
    Q_OBJECT

public:
    explicit NeloMenuBarApp(QObject* parent = nullptr);
    NeloMenuBarApp(const NeloMenuBarApp&) = delete;
    NeloMenuBarApp& operator=(const NeloMenuBarApp&) = delete;
    ~NeloMenuBarApp() override;

    /// Builds the status item and its menu. Nothing else starts: no window, no helper, no file but the custom image is
    /// read.
    void applicationDidFinishLaunching();
    /// Ends the helper process; waits for a backend call in progress.
    void applicationWillTerminate();

    /// Each shows its window in front, made on first use and kept for the application's lifetime.
    void openNelo();
    void openNeloConsole();
    void openSettings();
    /// Asks the application to terminate.
    void quitApp();

private:
    std::unique_ptr<QMenu> m_menu;
    QSystemTrayIcon* m_statusItem = nullptr; // child of this
    std::unique_ptr<NeloWindow> m_chatWindow;
    std::unique_ptr<NeloWindow> m_consoleWindow;
    std::unique_ptr<NeloWindow> m_settingsWindow;
};
