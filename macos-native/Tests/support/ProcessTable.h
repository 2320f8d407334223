#pragma once

#include <set>
#include <vector>

#include <sys/types.h>

/// What the kernel says of this process; Linux only, where the tests run.
namespace ProcessTable {

/// The ids of our child processes, zombies included.
std::vector<pid_t> children();

/// The ids of our threads.
std::set<pid_t> threads();

/// Whether the child has exited and nobody has waited for it yet.
bool isZombie(pid_t child);

/// How many file descriptors are open.
int openDescriptors();

} // namespace ProcessTable
