#pragma once

#include "base/FileDescriptor.h"

#include <QByteArrayList>
#include <QObject>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>

class QFileSystemWatcher;
class QSocketNotifier;

/// Makes the program run once for each user. The first instance holds a lock while it runs, and listens on a socket
/// beside it that only the user can reach. A later start sends its displays and its activation token to the socket and
/// gets an answer of one byte. When the connection is closed without an answer, the first instance is quitting: the
/// later start waits for its end and becomes the first. The system releases the lock when the process ends in any way.
class SingleInstance final : public QObject
{
    Q_OBJECT

public:
    enum class Role {
        First,
        Later,        ///< the first instance was asked to come to the front
        OtherDisplay, ///< the first instance shows its windows on another display
        Unreachable,  ///< another process holds the lock and does not listen
    };

    /// Finds out the role. Needs no event loop and no application object.
    ///
    /// The lock and the socket are in `folder`. Without a folder the role is `First`. Waits up to `timeout` for a first
    /// instance that does not listen yet. Waits without a limit for one that is busy or quitting.
    explicit SingleInstance(std::optional<std::filesystem::path> folder = defaultFolder(),
                            std::chrono::milliseconds timeout = std::chrono::seconds(10));
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance() override;

    /// Returns XDG_RUNTIME_DIR when only this user can reach it, or else a folder of this user among the temporary
    /// files. Returns nothing when there is neither.
    static std::optional<std::filesystem::path> defaultFolder();

    Role role() const { return m_role; }

    /// Listens for later starts, and makes the lock and the socket again when somebody deletes them. Only the first
    /// instance calls this, and there must be an application object. When no socket can be made, later starts are
    /// `Unreachable`.
    void listen();
    /// Stops answering. Later starts then wait until this process has ended.
    void stopListening();

signals:
    /// A later start asks this program to come to the front. `token` is the later start's activation token. It may be
    /// empty.
    void activationRequested(const QByteArray& token);

private:
    Role findRole(std::chrono::milliseconds timeout);
    bool lock();
    bool holdsLock() const;
    void acceptConnections();
    void answer(const FileDescriptor& connection);
    void restoreFiles();

    std::optional<std::filesystem::path> m_folder;
    QByteArrayList m_displays; // of this process
    FileDescriptor m_lock;
    Role m_role = Role::First;
    FileDescriptor m_socket;
    std::unique_ptr<QSocketNotifier> m_notifier; // parent of the notifiers of its connections
    std::unique_ptr<QFileSystemWatcher> m_files;
};
