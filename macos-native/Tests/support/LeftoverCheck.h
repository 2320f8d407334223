#pragma once

#include "support/ProcessTable.h"

#include <QTest>

/// Fails the test when it goes and there is a child process, or another number of open descriptors than when it came.
class LeftoverCheck final
{
public:
    LeftoverCheck() = default;
    LeftoverCheck(const LeftoverCheck&) = delete;
    LeftoverCheck& operator=(const LeftoverCheck&) = delete;
    ~LeftoverCheck()
    {
        QVERIFY(ProcessTable::children().empty());
        QCOMPARE(ProcessTable::openDescriptors(), descriptorsBefore);
    }

    const int descriptorsBefore = ProcessTable::openDescriptors();
};
