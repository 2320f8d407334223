#include "support/TestCase.h"

#include "support/Warnings.h"

void TestCase::init()
{
    failOnUnexpectedWarning();
    for (const Member& member : m_members)
        member.make();
}

void TestCase::cleanup()
{
    for (auto member = m_members.rbegin(); member != m_members.rend(); ++member)
        member->drop();
}
