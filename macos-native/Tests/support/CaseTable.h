#pragma once

#include <QTest>

#include <initializer_list>
#include <iterator>
#include <tuple>
#include <vector>

/// The cases of one test function: rows of values, each with the words that name it. The function goes through them in
/// a loop, which ends at the first case that fails; that case is named.
///
///     const CaseTable<QString, int> cases{{"its title", u"cloud"_s, 1}, {"another title", u"sky"_s, -1}};
///     for (const auto& [title, index] : cases)
///         QCOMPARE(indexOf(title), index);
template <typename... Values> class CaseTable final
{
public:
    struct Case
    {
        Case(const char* itsName, const Values&... itsValues) : name(itsName), values(itsValues...) {}

        const char* name;
        std::tuple<Values...> values;
    };

    /// Goes to the next case unless one has failed.
    struct Iterator
    {
        const CaseTable& table;

        const std::tuple<Values...>& operator*() const { return table.m_cases[table.m_index].values; }
        void operator++() const { table.m_index += QTest::currentTestFailed() ? 0 : 1; }
        bool operator!=(std::default_sentinel_t /*end*/) const
        {
            return table.m_index < table.m_cases.size() && !QTest::currentTestFailed();
        }
    };

    CaseTable(std::initializer_list<Case> cases) : m_cases(cases) {}
    CaseTable(const CaseTable&) = delete;
    CaseTable& operator=(const CaseTable&) = delete;
    ~CaseTable()
    {
        if (m_index < m_cases.size() && QTest::currentTestFailed())
            qInfo("The case: %s", m_cases[m_index].name);
    }

    Iterator begin() const
    {
        m_index = 0;
        return {*this};
    }
    std::default_sentinel_t end() const { return {}; }

private:
    std::vector<Case> m_cases;
    mutable std::size_t m_index = 0; // of the case of the loop
};
