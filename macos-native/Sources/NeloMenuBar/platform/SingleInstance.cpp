#include "platform/SingleInstance.h"

#include <QByteArray>
#include <QFileSystemWatcher>
#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

using namespace std::chrono_literals;

namespace {

constexpr char activated = 'a';
constexpr char onOtherDisplay = 'd';
constexpr std::size_t maxRequestBytes = 4096; // a socket delivers this much in one piece
#ifdef MSG_NOSIGNAL
constexpr int sendFlags = MSG_NOSIGNAL; // a closed connection is an error and no SIGPIPE
#else
constexpr int sendFlags = 0; // `configure` sets an option of the socket for this
#endif

std::filesystem::path lockIn(const std::filesystem::path& folder)
{
    return folder / "nelo.lock";
}

std::filesystem::path socketIn(const std::filesystem::path& folder)
{
    return folder / "nelo.socket";
}

/// Returns whether `folder` belongs to this user and is closed to others. In a folder in which everybody can write,
/// somebody else may have made a folder with our name.
bool isPrivate(const std::filesystem::path& folder)
{
    struct stat status
    {};
    return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid()
           && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

/// Returns the displays of this process: the Wayland display, and the X display without its screen number.
QByteArrayList displays()
{
    const QByteArray x11 = qgetenv("DISPLAY");
    const auto colon = x11.lastIndexOf(':');
    const auto dot = x11.indexOf('.', qMax(colon, 0));
    return {qgetenv("WAYLAND_DISPLAY"), dot < 0 ? x11 : x11.left(dot)};
}

/// Returns whether the user of the displays `others` sees windows on the displays `ours`. A session may have both kinds
/// of display, and a start may know only one of them.
bool shareDisplay(const QByteArrayList& ours, const QByteArrayList& others)
{
    for (int kind = 0; kind < ours.size(); ++kind) {
        if (!ours[kind].isEmpty() && ours[kind] == others[kind])
            return true;
    }
    return ours == others;
}

/// Returns the activation token that the desktop gave this start. With it, a window may come to the front.
QByteArray activationToken()
{
    const QByteArray token = qgetenv("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qgetenv("DESKTOP_STARTUP_ID") : token;
}

/// Returns the socket's address, or nothing when the path is too long for an address.
std::optional<sockaddr_un> addressIn(const std::filesystem::path& folder)
{
    const std::string path = socketIn(folder);
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path)
        return std::nullopt;
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), path.size()); // the rest is zeros already
    return address;
}

const sockaddr* generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address); // the type that the socket calls need
}

void configure(const FileDescriptor& socket)
{
    fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
    fcntl(socket.get(), F_SETFL, O_NONBLOCK);
#ifdef SO_NOSIGPIPE
    const int isOn = 1;
    setsockopt(socket.get(), SOL_SOCKET, SO_NOSIGPIPE, &isOn, sizeof isOn);
#endif
}

/// Returns whether all of `bytes` was sent.
bool sendAll(const FileDescriptor& connection, const QByteArray& bytes)
{
    return send(connection.get(), bytes.constData(), static_cast<std::size_t>(bytes.size()), sendFlags) == bytes.size();
}

FileDescriptor makeSocket()
{
    FileDescriptor made(socket(AF_UNIX, SOCK_STREAM, 0));
    configure(made);
    return made;
}

/// The answer of the first instance to a later start.
enum class Answer { Activated, OtherDisplay, Quitting, NotListening };

Answer ask(const std::filesystem::path& folder)
{
    const std::optional<sockaddr_un> address = addressIn(folder);
    const FileDescriptor connection = makeSocket();
    if (!address || ::connect(connection.get(), generic(*address), sizeof *address) != 0)
        return Answer::NotListening;

    if (!sendAll(connection, (displays() << activationToken()).join('\n')))
        return Answer::Quitting;
    pollfd answered{connection.get(), POLLIN, 0};
    while (poll(&answered, 1, -1) < 0 && errno == EINTR) {
    }
    char byte = 0;
    if (read(connection.get(), &byte, 1) != 1)
        return Answer::Quitting;
    return byte == onOtherDisplay ? Answer::OtherDisplay : Answer::Activated;
}

} // namespace

SingleInstance::SingleInstance(std::optional<std::filesystem::path> folder, std::chrono::milliseconds timeout)
    : m_folder(std::move(folder)), m_displays(displays()), m_role(findRole(timeout))
{}

SingleInstance::~SingleInstance()
{
    stopListening();
}

std::optional<std::filesystem::path> SingleInstance::defaultFolder()
{
    if (const char* given = std::getenv("XDG_RUNTIME_DIR")) {
        const std::filesystem::path folder(given);
        if (folder.is_absolute() && isPrivate(folder)) // the XDG base directory standard ignores relative ones
            return folder;
    }
    std::error_code failure;
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path(failure) / ("nelo-" + std::to_string(geteuid()));
    if (failure)
        return std::nullopt;
    mkdir(folder.c_str(), S_IRWXU); // it may exist already
    return isPrivate(folder) ? std::optional(folder) : std::nullopt;
}

SingleInstance::Role SingleInstance::findRole(std::chrono::milliseconds timeout)
{
    if (!m_folder)
        return Role::First;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    bool hasReachedFirst = false;
    for (;;) {
        const bool isLocked = lock();
        // This start asks also when it has the lock: somebody may have deleted the first instance's lock file.
        const Answer answer = ask(*m_folder);
        if (answer == Answer::NotListening && isLocked)
            return Role::First;
        if (answer == Answer::Activated || answer == Answer::OtherDisplay) {
            m_lock = FileDescriptor();
            return answer == Answer::Activated ? Role::Later : Role::OtherDisplay;
        }
        hasReachedFirst |= answer == Answer::Quitting;
        if (!hasReachedFirst && std::chrono::steady_clock::now() > deadline)
            return Role::Unreachable;
        std::this_thread::sleep_for(10ms);
    }
}

/// Takes the lock. Returns false when another process holds it. Returns true otherwise, also when the file cannot be
/// made.
bool SingleInstance::lock()
{
    if (holdsLock())
        return true;
    FileDescriptor file(open(lockIn(*m_folder).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (file.get() >= 0 && flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        return false;
    m_lock = std::move(file);
    return true;
}

/// Returns whether this process holds the lock, and the locked file is still the one with the lock's name.
bool SingleInstance::holdsLock() const
{
    struct stat locked
    {};
    struct stat found
    {};
    return m_lock.get() >= 0 && fstat(m_lock.get(), &locked) == 0 && stat(lockIn(*m_folder).c_str(), &found) == 0
           && locked.st_ino == found.st_ino && locked.st_dev == found.st_dev;
}

void SingleInstance::listen()
{
    const std::optional<sockaddr_un> address = m_folder ? addressIn(*m_folder) : std::nullopt;
    stopListening();
    m_socket = makeSocket();
    if (!address || m_socket.get() < 0)
        return;
    unlink(static_cast<const char*>(address->sun_path)); // a killed program may have left it
    if (bind(m_socket.get(), generic(*address), sizeof *address) != 0 || ::listen(m_socket.get(), SOMAXCONN) != 0)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Read, this);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &SingleInstance::acceptConnections);
    m_files = std::make_unique<QFileSystemWatcher>();
    for (const std::filesystem::path& file : {lockIn(*m_folder), socketIn(*m_folder)})
        m_files->addPath(QString::fromStdString(file.string()));
    connect(m_files.get(), &QFileSystemWatcher::fileChanged, this, &SingleInstance::restoreFiles,
            Qt::QueuedConnection); // the slot deletes the watcher
}

void SingleInstance::stopListening()
{
    if (!m_notifier)
        return;
    m_files.reset();
    unlink(socketIn(*m_folder).c_str());
    m_notifier.reset();
    m_socket = FileDescriptor();
}

void SingleInstance::restoreFiles()
{
    if (holdsLock() && access(socketIn(*m_folder).c_str(), F_OK) == 0)
        return;
    mkdir(m_folder->c_str(), S_IRWXU); // it may exist already
    lock();
    listen();
}

void SingleInstance::acceptConnections()
{
    for (;;) {
        auto connection = std::make_shared<FileDescriptor>(accept(m_socket.get(), nullptr, nullptr));
        if (connection->get() < 0)
            break;
        configure(*connection);
        auto* notifier = new QSocketNotifier(connection->get(), QSocketNotifier::Read, m_notifier.get());
        connect(notifier, &QSocketNotifier::activated, this, [this, notifier, connection] {
            notifier->setEnabled(false);
            notifier->deleteLater(); // this closes the connection
            answer(*connection);
        });
    }
    if (errno != EMFILE && errno != ENFILE)
        return;
    // No descriptor is free, and the socket stays readable: without a pause the event loop would run in a circle.
    m_notifier->setEnabled(false);
    QTimer::singleShot(1s, m_notifier.get(), [notifier = m_notifier.get()] { notifier->setEnabled(true); });
}

void SingleInstance::answer(const FileDescriptor& connection)
{
    QByteArray request(maxRequestBytes, Qt::Uninitialized);
    request.resize(qMax<qsizetype>(0, read(connection.get(), request.data(), maxRequestBytes)));
    QByteArrayList lines = request.split('\n');
    if (lines.size() != 3)
        return; // it is no request of this program
    const QByteArray token = lines.takeLast();
    const bool isOnOurs = shareDisplay(m_displays, lines);
    if (sendAll(connection, QByteArray(1, isOnOurs ? activated : onOtherDisplay)) && isOnOurs)
        emit activationRequested(token);
}
