#pragma once

#include <cstdint>

/// While the object lives, this thread obeys the permissions of files and cannot give a file away, even if it runs as
/// the superuser. Linux only, where the tests run.
class OrdinaryUser final
{
public:
    OrdinaryUser();
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser();

private:
    std::uint32_t m_capabilitiesBefore = 0;
};
