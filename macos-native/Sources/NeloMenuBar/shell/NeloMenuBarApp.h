#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>

class NeloWindow;
class Platform;
class QMenu;
class ViewController;

/// The application's delegate: owns the status item, its menu, the launcher and the three windows that the menu
/// opens. It ends the helper when the application ends.
class NeloMenuBarApp final : public QObject
{
    Q_OBJECT

public:
    /// How long the status area may be missing before the launcher window is shown. A desktop that starts its panel
    /// again has none for a moment.
    static constexpr std::chrono::milliseconds statusAreaTimeout = std::chrono::seconds(1);
    /// How long a desktop may take to start. In a session that is younger, the launcher window is not shown before.
    static constexpr std::chrono::milliseconds sessionStartTimeout = std::chrono::seconds(10);

    explicit NeloMenuBarApp(std::unique_ptr<Platform> platform, std::chrono::milliseconds timeout = statusAreaTimeout,
                            QObject* parent = nullptr);
    NeloMenuBarApp(const NeloMenuBarApp&) = delete;
    NeloMenuBarApp& operator=(const NeloMenuBarApp&) = delete;
    ~NeloMenuBarApp() override;

    /// Builds the menu and, as soon as there is a status area, the status item. Makes no window, starts no helper, and
    /// reads no file except the user's own image.
    void applicationDidFinishLaunching();
    /// Ends the helper process; waits for a backend call in progress.
    void applicationWillTerminate();

    /// These show a window in front. It is made on first use and kept until the application ends.
    void openNelo();
    void openNeloConsole();
    void openSettings();
    /// Shows the chat, because a later start of the program has asked for it. Where there is no status area, shows the
    /// launcher, too. `token` is the activation token that the desktop gave the later start. It may be empty.
    void comeForward(const QByteArray& token);
    /// Brings an open window forward, or else shows the chat, because the user has opened the running application
    /// again.
    void reopen();
    /// Asks the application to terminate. Cancels an open alert.
    void quitApp();

private:
    void makeMenu();
    /// Hides the launcher when there is a status area. Shows it when there has been none for some time.
    void followStatusArea();
    void followColorScheme();
    void showLauncher();
    void show(std::unique_ptr<NeloWindow>& window, const QString& title, QSize size,
              ViewController* (*makeController)());
    void bringForward(NeloWindow& window);

    std::chrono::milliseconds m_statusAreaTimeout;
    std::unique_ptr<QMenu> m_menu; // before the platform, which shows it and must go first
    std::unique_ptr<Platform> m_platform;
    QTimer m_launcherTimer;
    std::unique_ptr<NeloWindow> m_launcherWindow;
    std::unique_ptr<NeloWindow> m_chatWindow;
    std::unique_ptr<NeloWindow> m_consoleWindow;
    std::unique_ptr<NeloWindow> m_settingsWindow;
};
