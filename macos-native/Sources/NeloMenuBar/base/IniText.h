#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

/// Returns the text under `key`, which is in no group, in the text of a settings file in the format of `QSettings`.
/// Returns an empty text when there is no such key, or when its value is of another type. `ApiKeyStore` says what
/// `QSettings` itself would not do.
QString iniValue(const QByteArray& ini, const QByteArray& key);

/// Returns the settings file `ini` with `values`, whose keys are in no group and need no escapes. Everything else in
/// the file stays as it is.
QByteArray withIniValues(const QByteArray& ini, const QMap<QByteArray, QString>& values);
