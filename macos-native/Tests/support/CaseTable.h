#pragma once

#include <QTest>

#include <initializer_list>
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

    class Iterator final
    {
    public:
        Iterator(const Case* at, const char** name) : m_case(at), m_name(name) {}

        const std::tuple<Values...>& operator*() const
        {
            *m_name = m_case->name;
            return m_case->values;
        }
        Iterator& operator++()
        {
            ++m_case;
            return *this;
        }
        bool operator!=(const Iterator& other) const { return m_case != other.m_case && !QTest::currentTestFailed(); }

    private:
        const Case* m_case;
        const char** m_name;
    };

    CaseTable(std::initializer_list<Case> cases) : m_cases(cases) {}
    CaseTable(const CaseTable&) = delete;
    CaseTable& operator=(const CaseTable&) = delete;
    ~CaseTable()
    {
        if (m_name && QTest::currentTestFailed())
            qInfo("The case: %s", m_name);
    }

    Iterator begin() const { return {m_cases.data(), &m_name}; }
    Iterator end() const { return {m_cases.data() + m_cases.size(), &m_name}; }

private:
    std::vector<Case> m_cases;
    mutable const char* m_name = nullptr; // of the case that the loop has come to
};
