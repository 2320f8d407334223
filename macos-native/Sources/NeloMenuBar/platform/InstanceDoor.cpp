#include "platform/InstanceDoor.h"

#include <QSocketNotifier>

#include <optional>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace {

/// The address of the door; nothing when the folder's path is longer than an address may be.
std::optional<sockaddr_un> addressIn(const std::filesystem::path& folder)
{
    const std::string path = folder / "nelo.socket";
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path)
        return std::nullopt;
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), path.size()); // before zeros
    return address;
}

FileDescriptor makeSocket()
{
    FileDescriptor made(socket(AF_UNIX, SOCK_STREAM, 0));
    if (made.get() >= 0) {
        fcntl(made.get(), F_SETFD, FD_CLOEXEC);
        fcntl(made.get(), F_SETFL, O_NONBLOCK);
    }
    return made;
}

const sockaddr* generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address); // as the socket calls want it
}

} // namespace

InstanceDoor::InstanceDoor(std::filesystem::path folder, QObject* parent)
    : QObject(parent), m_folder(std::move(folder)), m_socket(makeSocket())
{
    const std::optional<sockaddr_un> address = addressIn(m_folder);
    if (!address || m_socket.get() < 0)
        return;
    unlink(static_cast<const char*>(address->sun_path));
    if (bind(m_socket.get(), generic(*address), sizeof *address) != 0 || listen(m_socket.get(), SOMAXCONN) != 0)
        return;
    auto* notifier = new QSocketNotifier(m_socket.get(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &InstanceDoor::answer);
}

InstanceDoor::~InstanceDoor()
{
    if (const std::optional<sockaddr_un> address = addressIn(m_folder))
        unlink(static_cast<const char*>(address->sun_path));
}

bool InstanceDoor::knock(const std::filesystem::path& folder)
{
    const std::optional<sockaddr_un> address = addressIn(folder);
    const FileDescriptor visitor = makeSocket();
    return address && visitor.get() >= 0 && ::connect(visitor.get(), generic(*address), sizeof *address) == 0;
}

void InstanceDoor::answer()
{
    bool hasVisitor = false;
    while (FileDescriptor(accept(m_socket.get(), nullptr, nullptr)).get() >= 0)
        hasVisitor = true;
    if (hasVisitor)
        emit knocked();
}
