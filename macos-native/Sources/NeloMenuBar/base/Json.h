#pragma once

#include <QStringList>

#include <nlohmann/json.hpp>

#include <string_view>

/// The program's type for JSON values. It keeps the order of keys, 64-bit integers and the difference between 1.0 and
/// 1, so that an object from the backend can be sent back unchanged.
using Json = nlohmann::ordered_json;

/// Converts `text` to a JSON string, so that a `QString` can be used where a JSON value is built.
inline void to_json(Json& json, const QString& text)
{
    json = text.toStdString();
}

/// The deepest nesting of arrays and objects that is read: printing and freeing a JSON value recurse.
constexpr int maxJsonDepth = 512;

/// Parses `text`. Returns a discarded value, which has no type, when `text` is not JSON or is nested deeper than
/// `maxJsonDepth`.
Json parseJson(std::string_view text);

/// Returns the textual description of a JSON value: a string as is, a boolean as 1 or 0, an integer in decimal, a
/// double in its shortest form, null as `<null>`, an array or object as compact JSON.
QString textOf(const Json& value);

/// Returns the text of `object`'s member `key`, or `missing` when there is no such member.
QString textOf(const Json& object, const char* key, const QString& missing = QString());

/// Returns the strings of `object`'s member `key`. The list is empty when the member is missing, is no array or holds
/// anything but strings.
QStringList textsOf(const Json& object, const char* key);

/// Returns `object`'s member `key`, or an empty object when the member is missing or is no object.
Json objectOf(const Json& object, const char* key);

/// Returns whether `object`'s member `key` is the boolean true. The text "true" and the number 1 are not.
bool isTrue(const Json& object, const char* key);
