#pragma once

#include "platform/StatusArea.h"

/// A status area that comes and goes when it is told to.
class ToldStatusArea final : public StatusArea
{
public:
    explicit ToldStatusArea(bool isAvailable) : m_isAvailable(isAvailable) {}

    bool isAvailable() const override { return m_isAvailable; }

    void setAvailable(bool isAvailable)
    {
        m_isAvailable = isAvailable;
        emit changed();
    }

private:
    bool m_isAvailable;
};
