#include "platform/TerminationSignals.h"

#include <QSocketNotifier>

#include <atomic>
#include <cerrno>

#include <fcntl.h>

namespace {

std::atomic<int> signalledDescriptor = -1; // a signal handler can only use global state

void wakeUp(int /*signal*/)
{
    const int errnoBefore = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written =
        write(signalledDescriptor, &byte, 1); // a full pipe wakes the event loop, too
    errno = errnoBefore;
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent)
{
    std::array<int, 2> ends{-1, -1};
    if (pipe(ends.data()) != 0)
        return; // the signals keep their default action, which ends the program
    m_readEnd = FileDescriptor(ends[0]);
    m_writeEnd = FileDescriptor(ends[1]);
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    signalledDescriptor = m_writeEnd.get();

    auto* notifier = new QSocketNotifier(m_readEnd.get(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        notifier->setEnabled(false); // the signal is emitted once
        emit received();
    });
    struct sigaction action
    {};
    action.sa_handler = wakeUp;
    action.sa_flags = static_cast<int>(
        SA_RESETHAND | SA_RESTART); // a second signal ends the program, also when the event loop does not run
    for (std::size_t i = 0; i < terminationSignals.size(); ++i) {
        sigaction(terminationSignals.at(i), nullptr, &m_actionsBefore.at(i));
        if (m_actionsBefore.at(i).sa_handler != SIG_IGN) // nohup ignores SIGHUP
            sigaction(terminationSignals.at(i), &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals()
{
    if (m_writeEnd.get() < 0)
        return;
    for (std::size_t i = 0; i < terminationSignals.size(); ++i)
        sigaction(terminationSignals.at(i), &m_actionsBefore.at(i), nullptr);
    signalledDescriptor = -1;
}
