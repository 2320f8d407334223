#pragma once

#include "base/Json.h"

#include <string>
#include <vector>

/// Returns the failure text of the bridge: "ERROR: " and the reason.
std::string errorText(const std::string& reason);

/// A reply of `NeloBackend::call`, read leniently: a reply of another shape than expected counts as empty. The bridge
/// has parsed it already, and refuses one that is nested deeper than `maxJsonDepth`.
class BackendReply final
{
public:
    explicit BackendReply(std::string text);

    /// Returns whether the call failed: the text begins with "ERROR:".
    bool isError() const;
    /// Returns the reply as it came, prefix included.
    QString text() const;
    /// Returns the reply as a JSON object, which is empty when the reply is an error or anything else.
    Json object() const;
    /// Returns the reply as a list of JSON objects, which is empty when the reply is an error or holds anything else.
    std::vector<Json> rows() const;

private:
    Json parsed() const;

    std::string m_text;
};
