#pragma once

#include <QtGlobal>

#include <array>
#include <cstdint>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

/// While the object lives, this thread obeys the permissions of files and cannot give a file away, even if it runs as
/// the superuser. Linux only, where the tests run.
class OrdinaryUser final
{
public:
    OrdinaryUser() : m_capabilitiesBefore(exchangeCapabilities(~(passingPermissions | givingFilesAway))) {}
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() { exchangeCapabilities(m_capabilitiesBefore); }

private:
    static constexpr std::uint32_t passingPermissions = 1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH;
    static constexpr std::uint32_t givingFilesAway = 1U << CAP_CHOWN;

    /// Sets which of the first 32 capabilities are in effect; returns those that were.
    static std::uint32_t exchangeCapabilities(std::uint32_t keep)
    {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        std::array<__user_cap_data_struct, 2> data{};
        if (syscall(SYS_capget, &header, data.data()) != 0)
            qFatal("capabilities cannot be read");
        const std::uint32_t before = data[0].effective;
        data[0].effective = data[0].permitted & keep;
        if (syscall(SYS_capset, &header, data.data()) != 0)
            qFatal("capabilities cannot be set");
        return before;
    }

    std::uint32_t m_capabilitiesBefore;
};
