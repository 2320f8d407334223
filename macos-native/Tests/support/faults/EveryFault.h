#pragma once

#include <QByteArray>
#include <QMetaType>

#include <functional>

/// A way in which calls of one kind fail; see FaultyCalls.h for the kinds and the outcomes.
struct Fault
{
    QByteArray kind;
    int outcome = 0;
    bool isSurvived = false; // whether whoever makes the call must manage all the same, and not say that it failed
    bool isLasting = false;  // whether all calls of the kind after the first that fails do so too
};
Q_DECLARE_METATYPE(Fault)

/// Repeats an action. The first time, its first call of a kind fails, the second time its second call, and so on. The
/// last time no call fails. `NELO_FAULT_KILL` kills a copy of this process instead.
///
///     EveryFault faults(fault);
///     while (faults.next()) {
///         const TestHome home;
///         faults.during([] { saveSomething(); });
///         QVERIFY(isNew() || (faults.mayHaveFailed() && isOld()));
///     }
class EveryFault final
{
public:
    explicit EveryFault(Fault fault);
    EveryFault(const EveryFault&) = delete;
    EveryFault& operator=(const EveryFault&) = delete;
    /// When the test has failed, prints which call it was.
    ~EveryFault();

    /// Whether there is another time.
    bool next();
    /// Does it, with this time's call failing. Only calls of this process count. Where copies are killed, it must have
    /// one thread, and a copy that ends in any other way, before it has done everything, fails the test.
    void during(const std::function<void()>& action);

    /// Whether the call came: if not, all went well this time.
    bool hasStruck() const { return m_hasStruck; }
    /// Whether what was done may have come to nothing: the call came, and its fault need not be survived.
    bool mayHaveFailed() const { return m_hasStruck && !m_fault.isSurvived; }
    /// How many calls have failed so far, one each time.
    int strikes() const { return m_strikes; }

private:
    /// Does it; whether the call came.
    bool strikesDuring(const std::function<void()>& action) const;
    /// Has a copy do it; whether it was killed.
    bool killsDuring(const std::function<void()>& action) const;

    Fault m_fault;
    int m_number = 0;
    int m_strikes = 0;
    bool m_hasStruck = true;
};

/// Adds a row for each way in which writing a file fails, in the column "fault".
void addRowsOfFileFaults();
