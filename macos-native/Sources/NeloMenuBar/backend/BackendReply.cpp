#include "backend/BackendReply.h"

#include <QLocale>

#include <algorithm>
#include <utility>

namespace {

/// How deep arrays and objects are nested in a JSON text, valid or not.
int nestingDepth(std::string_view json)
{
    int depth = 0;
    int deepest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (inString && c == '\\')
            ++i;
        else if (c == '"')
            inString = !inString;
        else if (!inString && (c == '[' || c == '{'))
            deepest = std::max(deepest, ++depth);
        else if (!inString && (c == ']' || c == '}'))
            --depth;
    }
    return deepest;
}

/// The characters of `string`. Qt's reader alone would take the first for a byte-order mark, and away, if it is one.
QString charactersOf(const std::string& string)
{
    constexpr char16_t byteOrderMark = u'\ufeff';
    const QString text = QString::fromStdString(string);
    return string.starts_with("\ufeff") ? byteOrderMark + text : text;
}

} // namespace

QString textOf(const Json& value)
{
    switch (value.type()) {
    case Json::value_t::string:
        return charactersOf(value.get_ref<const std::string&>());
    case Json::value_t::boolean:
        return value.get<bool>() ? QStringLiteral("1") : QStringLiteral("0");
    case Json::value_t::number_integer:
        return QString::number(value.get<std::int64_t>());
    case Json::value_t::number_unsigned:
        return QString::number(value.get<std::uint64_t>());
    case Json::value_t::number_float:
        return QString::number(value.get<double>(), 'g', QLocale::FloatingPointShortest);
    case Json::value_t::null:
        return QStringLiteral("<null>");
    case Json::value_t::array:
    case Json::value_t::object:
        return QString::fromStdString(value.dump());
    case Json::value_t::binary:
    case Json::value_t::discarded:
        break; // never the outcome of reading JSON text
    }
    return {};
}

QString textOf(const Json& object, const char* key, const QString& missing)
{
    const auto member = object.find(key);
    return member == object.end() ? missing : textOf(*member);
}

Json parseJson(std::string_view text)
{
    if (nestingDepth(text) > BackendReply::maximumDepth)
        return Json::value_t::discarded;
    return Json::parse(text, nullptr, /*allow_exceptions=*/false);
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
    return {std::make_move_iterator(value.begin()), std::make_move_iterator(value.end())};
}

Json BackendReply::parsed() const
{
    return isError() ? Json() : parseJson(m_text);
}
