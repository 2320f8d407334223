#pragma once

#include "base/FileDescriptor.h"

#include <chrono>
#include <filesystem>

/// Makes one program of many that a user starts: the first one holds a lock for as long as it runs, and every later one
/// only knocks at its `InstanceDoor`. The system releases the lock with the process, however that ends.
class InstanceLock final
{
public:
    enum class Role { First, Later };

    /// Finds out which one this is. `folder` is where the lock and the door are. A later one has knocked by then; it
    /// waits up to `patience` for a first one that has locked but not yet opened, or that is just ending. Where nothing
    /// can be locked, everyone is a first one.
    explicit InstanceLock(const std::filesystem::path& folder,
                          std::chrono::milliseconds patience = std::chrono::seconds(5));

    Role role() const { return m_role; }

private:
    FileDescriptor m_lock;
    Role m_role = Role::First;
};
