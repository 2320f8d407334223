#pragma once

#include <QTest>

/// The rows of a data-driven test: names the columns once and adds each row as one call.
///
///     const Cases<QByteArray, QString> add("reply", "summary");
///     add("no agents", "[]", u"Total: 0"_s);
template <typename... Columns> class Cases final
{
public:
    template <typename... Names> explicit Cases(Names... names)
    {
        static_assert(sizeof...(Names) == sizeof...(Columns));
        (QTest::addColumn<Columns>(names), ...);
    }

    void operator()(const char* row, const Columns&... values) const
    {
        QTestData& data = QTest::newRow(row);
        static_cast<void>((data << ... << values));
    }
};
