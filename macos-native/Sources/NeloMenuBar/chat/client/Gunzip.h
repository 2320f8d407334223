#pragma once

#include <QByteArray>

#include <optional>

/// Unpacks `packed`, which is in the format of RFC 1952. Returns nothing when it has another format, is damaged or is
/// cut off, or when the content is larger than about 256 MB. libcurl, which can unpack answers, too, does not notice
/// that one is cut off.
std::optional<QByteArray> gunzip(const QByteArray& packed);
