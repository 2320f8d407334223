#pragma once

#include <csignal>

#include <sys/types.h>

/// Interrupts system calls of our threads with a signal after which the kernel does not begin them anew.
class Interruption final
{
public:
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    /// Interrupts what `thread` waits in, as soon as it waits, and returns when it waits again.
    void strike(pid_t thread) const;

private:
    struct sigaction m_before = {};
};
