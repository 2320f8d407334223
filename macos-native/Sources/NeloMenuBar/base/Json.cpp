#include "base/Json.h"

#include <QLocale>

#include <algorithm>

namespace {

/// Returns the position of the quotation mark that ends the string that starts at `start`, or the end of `json` when
/// there is none.
std::size_t endOfString(std::string_view json, std::size_t start)
{
    std::size_t end = start;
    std::size_t backslashes = 0;
    do {
        end = json.find('"', end + 1); // much faster than a look at each character
        if (end == std::string_view::npos)
            return json.size();
        backslashes = end - 1 - json.find_last_not_of('\\', end - 1); // the character at `start` is no backslash
    } while (backslashes % 2 == 1);                                   // an odd number escapes the quotation mark
    return end;
}

/// Returns how deep arrays and objects are nested in a JSON text, which need not be valid.
int nestingDepth(std::string_view json)
{
    int depth = 0;
    int deepest = 0;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (c == '"')
            i = endOfString(json, i);
        else if (c == '[' || c == '{')
            deepest = std::max(deepest, ++depth);
        else if (c == ']' || c == '}')
            --depth;
    }
    return deepest;
}

/// Converts `string`. Qt's conversion alone would drop a byte-order mark at the beginning.
QString charactersOf(const std::string& string)
{
    constexpr char16_t byteOrderMark = u'\ufeff';
    const QString text = QString::fromStdString(string);
    return string.starts_with("\ufeff") ? byteOrderMark + text : text;
}

} // namespace

Json parseJson(std::string_view text)
{
    const bool holdsZero = text.find('\0') != std::string_view::npos; // the library would end the text there
    if (holdsZero || nestingDepth(text) > maxJsonDepth)
        return Json::value_t::discarded;
    return Json::parse(text, nullptr, /*allow_exceptions=*/false);
}

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
        break; // no JSON text has one of these types
    }
    return {};
}

QString textOf(const Json& object, const char* key, const QString& missing)
{
    const auto member = object.find(key);
    return member == object.end() ? missing : textOf(*member);
}

QStringList textsOf(const Json& object, const char* key)
{
    const auto member = object.find(key);
    if (member == object.end() || !member->is_array())
        return {};
    if (!std::all_of(member->begin(), member->end(), [](const Json& item) { return item.is_string(); }))
        return {};
    QStringList texts;
    for (const Json& item : *member)
        texts.append(textOf(item));
    return texts;
}

Json objectOf(const Json& object, const char* key)
{
    const auto member = object.find(key);
    return member != object.end() && member->is_object() ? *member : Json::object();
}

bool isTrue(const Json& object, const char* key)
{
    const auto member = object.find(key);
    return member != object.end() && *member == true;
}
