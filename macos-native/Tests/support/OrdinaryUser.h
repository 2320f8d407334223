#pragma once

#include <cstdint>

/// Has this thread bound by the permissions of files, and keep its own files, while the object lives, also when it is
/// the superuser's. Linux only, where the tests run.
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
