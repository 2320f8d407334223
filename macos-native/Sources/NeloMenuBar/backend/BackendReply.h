#pragma once

#include "base/Json.h"

#include <string>
#include <string_view>
#include <vector>

/// The textual description of a JSON value: a string as is, a boolean as 1 or 0, an integer in decimal, a double in its
/// shortest form, null as `<null>`, an array or object as compact JSON.
QString textOf(const Json& value);

/// The text of `object`'s member `key`, or `missing` when there is none.
QString textOf(const Json& object, const char* key, const QString& missing = QString());

/// `text` as JSON. Discarded, which is no value of any type, when it is no JSON, or nested deeper than
/// `BackendReply::maximumDepth`.
Json parseJson(std::string_view text);

/// A reply of `NeloBackend::call`, read leniently: what has not the expected shape counts as empty.
class BackendReply final
{
public:
    /// Nesting beyond this is not read: a JSON value recurses when it is printed and when it is freed.
    static constexpr int maximumDepth = 512;

    explicit BackendReply(std::string text);

    /// Whether the call failed: the text begins "ERROR:".
    bool isError() const;
    /// The reply as it came, prefix included.
    QString text() const;
    /// The reply as a JSON object; empty when it is an error or anything else.
    Json object() const;
    /// The reply as a list of JSON objects; empty when it is an error, or when it is or holds anything else.
    std::vector<Json> rows() const;

private:
    Json parsed() const;

    std::string m_text;
};
