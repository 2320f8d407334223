#pragma once

#include <QByteArray>
#include <QString>

/// The text of a settings file in the format of `QSettings`, with `text` as the value of `key`, which is in no group
/// and needs no escapes. Everything else in it stays as it is.
QByteArray withIniValue(const QByteArray& ini, const QByteArray& key, const QString& text);
