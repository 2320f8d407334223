#pragma once

#include <QString>

#include <nlohmann/json.hpp>

/// The one JSON value of the program: keeps key order, 64-bit integers and 1.0 apart from 1, so that an object which
/// goes back to the backend goes back as it came.
using Json = nlohmann::ordered_json;

/// Lets a `QString` stand wherever a JSON value is built.
inline void to_json(Json& json, const QString& text)
{
    json = text.toStdString();
}
