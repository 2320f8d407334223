#include "shell/platform/TerminationSignals.h"

#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>

namespace {

constexpr std::array terminationSignals{SIGTERM, SIGINT, SIGHUP};

std::atomic<int> signalledDescriptor = -1; // a handler knows nothing but globals

void wakeUp(int /*signal*/)
{
    const int errnoBefore = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(signalledDescriptor, &byte, 1); // a full pipe wakes just as well
    errno = errnoBefore;
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent)
{
    std::array<int, 2> ends{-1, -1};
    if (pipe(ends.data()) != 0)
        return; // the signals keep their default: the program still ends
    m_readEnd = FileDescriptor(ends[0]);
    m_writeEnd = FileDescriptor(ends[1]);
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    signalledDescriptor = m_writeEnd.get();

    auto* notifier = new QSocketNotifier(m_readEnd.get(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        notifier->setEnabled(false); // once is enough
        emit received();
    });
    for (const int signal : terminationSignals)
        std::signal(signal, wakeUp);
}

TerminationSignals::~TerminationSignals()
{
    for (const int signal : terminationSignals)
        std::signal(signal, SIG_DFL);
    signalledDescriptor = -1;
}
