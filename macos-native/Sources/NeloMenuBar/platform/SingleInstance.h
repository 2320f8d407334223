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

/// Makes the program run once for each user. The first start holds a lock for as long as it runs, and listens on a
/// socket beside it that only the user can reach. A later start sends its display and its activation token there; one
/// byte answers it. When the connection is closed without an answer, the first one is quitting: the later start waits
/// for its end and becomes the first. The system releases the lock with the process, however that ends.
class SingleInstance final : public QObject
{
    Q_OBJECT

public:
    enum class Role {
        First,
        Later,        ///< the first one has been asked to come forward
        OtherDisplay, ///< the first one shows its windows on another display
        Unreachable,  ///< another process holds the lock and does not listen
    };

    /// Finds out the role; nothing else is shared by the constructor and the event loop, which need not exist yet.
    ///
    /// `folder` is where the lock and the socket are; without one this is the first. The call waits up to `timeout` for
    /// a first one that does not listen yet, and as long as it takes for one that is busy or quitting.
    explicit SingleInstance(std::optional<std::filesystem::path> folder = defaultFolder(),
                            std::chrono::milliseconds timeout = std::chrono::seconds(10));
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance() override;

    /// XDG_RUNTIME_DIR where only this user can reach it, otherwise a folder of our own among the temporary files.
    /// Nothing when there is neither.
    static std::optional<std::filesystem::path> defaultFolder();

    Role role() const { return m_role; }

    /// Listens to later starts, and makes the lock and the socket anew when somebody deletes them. For the first one,
    /// once there is an application object. Where no socket can be made, later starts are `Unreachable`.
    void listen();
    /// Answers no start any more: those that come now wait until this process has ended.
    void stopListening();

signals:
    /// A later start asks the program to come forward. `token` is what its desktop gave it for that; it may be empty.
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
