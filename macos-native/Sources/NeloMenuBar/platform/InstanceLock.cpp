#include "platform/InstanceLock.h"

#include "platform/InstanceDoor.h"

#include <cerrno>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>

using namespace std::chrono_literals;

InstanceLock::InstanceLock(const std::filesystem::path& folder, std::chrono::milliseconds patience)
    : m_lock(open((folder / "nelo.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (m_lock.get() >= 0 && flock(m_lock.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        m_role = Role::Later;
        if (InstanceDoor::knock(folder) || std::chrono::steady_clock::now() > deadline)
            return;
        std::this_thread::sleep_for(10ms);
    }
    m_role = Role::First;
}
