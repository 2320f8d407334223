#pragma once

#include "base/Json.h"

#include <QFloat16> // QCOMPARE looks whether a JSON value converts to it
#include <QTest>

/// Lets QCOMPARE say what a JSON value or a standard string was.
namespace QTest {

template <> inline char* toString(const Json& value)
{
    return qstrdup(value.dump().c_str());
}

template <> inline char* toString(const std::string& text)
{
    return qstrdup(text.c_str());
}

} // namespace QTest
