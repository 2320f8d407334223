#include "backend/BackendReply.h"

#include <algorithm>
#include <utility>

std::string errorText(const std::string& reason)
{
    return "ERROR: " + reason;
}

BackendReply::BackendReply(std::string text) : m_text(std::move(text))
{}

bool BackendReply::isError() const
{
    return m_text.starts_with("ERROR:");
}

QString BackendReply::text() const
{
    return QString::fromStdString(m_text);
}

Json BackendReply::object() const
{
    Json value = parsed();
    return value.is_object() ? value : Json::object();
}

std::vector<Json> BackendReply::rows() const
{
    Json value = parsed();
    if (!value.is_array() || !std::all_of(value.begin(), value.end(), [](const Json& row) { return row.is_object(); }))
        return {};
    return std::move(value.get_ref<Json::array_t&>());
}

Json BackendReply::parsed() const
{
    constexpr bool mayThrow = false;
    return isError() ? Json() : Json::parse(m_text, nullptr, mayThrow); // the bridge has bounded its nesting
}
