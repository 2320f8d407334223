#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class QDateTime;

/// Decodes `bytes`, and keeps a byte-order mark. Returns nothing when they are not valid UTF-8.
std::optional<QString> decodeUtf8(const QByteArray& bytes);

/// Returns `time` in whole seconds in the form that names of files and agents have: "20250131-093000".
QString compactTimestamp(const QDateTime& time);

/// Returns `time` as UTC in whole seconds in the form of ISO 8601: "2025-01-31T09:30:00Z".
QString isoTimestamp(const QDateTime& time);
