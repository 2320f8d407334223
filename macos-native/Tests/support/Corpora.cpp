#include "support/Corpora.h"

#include "base/Json.h"

#include <QFile>

namespace {

Json jsonIn(const QString& path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly)) {
        qWarning("%s: %s", qPrintable(path), qPrintable(file.errorString()));
        return Json::array();
    }
    return Json::parse(file.readAll().toStdString());
}

/// A text is itself, bytes that are none are kept in base64.
QByteArray bytesOf(const Json& text)
{
    if (text.is_string())
        return QByteArray::fromStdString(text);
    return QByteArray::fromBase64(QByteArray::fromStdString(text.at("base64")));
}

} // namespace

QList<JsonText> Corpora::jsonTexts()
{
    QList<JsonText> texts;
    const Json cases = jsonIn(QStringLiteral(NELO_JSON_TEXTS));
    for (const Json& row : cases)
        texts.append({QByteArray::fromStdString(row.at(0)), bytesOf(row.at(1))});
    texts.append({"n_structure_100000_opening_arrays", QByteArray(100'000, '[')});
    texts.append({"n_structure_open_array_object", QByteArray("[{\"\":").repeated(50'000)});
    return texts;
}

QStringList Corpora::naughtyStrings()
{
    QStringList strings;
    const Json all = jsonIn(QStringLiteral(NELO_NAUGHTY_STRINGS));
    for (const Json& text : all)
        strings.append(QString::fromStdString(text));
    return strings;
}
