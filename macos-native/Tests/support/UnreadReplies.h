#pragma once

#include "base/Json.h"

#include <QTest>

Q_DECLARE_METATYPE(Json)

/// In a `_data` function: the replies of every shape that are no failure, for a call of which nothing else counts.
inline void addUnreadReplies()
{
    QTest::addColumn<Json>("reply");
    for (const Json& reply : {Json(), Json(false), Json(0), Json(""), Json("ERROR: x"), Json::array(), Json::object(),
                              Json{{"ok", false}, {"error", "ERROR: x"}}})
        QTest::newRow(reply.dump().c_str()) << reply;
}
