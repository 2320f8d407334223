#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>

class NeloWindow;
class Platform;
class QMenu;
class ViewController;

/// The application's delegate: owns the status item, its menu and the three windows, and ends the helper when the
/// application ends.
class NeloMenuBarApp final : public QObject
{
    Q_OBJECT

public:
    /// How long a status area may take to appear, or to appear again, before a window stands in for it: a desktop that
    /// starts, or starts its panel again, is not without one.
    static constexpr std::chrono::milliseconds statusAreaTimeout = std::chrono::seconds(1);

    explicit NeloMenuBarApp(std::unique_ptr<Platform> platform, std::chrono::milliseconds timeout = statusAreaTimeout,
                            QObject* parent = nullptr);
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
    /// A later start of the program asks this one to come forward: shows the chat, and where there is no status area
    /// the window that stands in for it. `token` is what its desktop gave it for that; it may be empty.
    void comeForward(const QByteArray& token);
    /// The user opens the running application again: a window that is open comes forward, or else the chat.
    void reopen();
    /// Asks the application to terminate. An open alert is cancelled.
    void quitApp();

private:
    void makeMenu();
    /// Hides the launcher when there is a status area, and shows it when there has been none for some time.
    void followStatusArea();
    void showLauncher();
    void show(std::unique_ptr<NeloWindow>& window, const QString& title, QSize size,
              ViewController* (*makeController)());
    void bringForward(NeloWindow& window);

    std::unique_ptr<QMenu> m_menu; // outlives the platform, which shows it
    std::unique_ptr<Platform> m_platform;
    QTimer m_launcherTimer;
    std::unique_ptr<NeloWindow> m_launcherWindow;
    std::unique_ptr<NeloWindow> m_chatWindow;
    std::unique_ptr<NeloWindow> m_consoleWindow;
    std::unique_ptr<NeloWindow> m_settingsWindow;
};
