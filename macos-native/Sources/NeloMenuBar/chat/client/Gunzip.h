#pragma once

#include <QByteArray>

#include <optional>

/// The content of `packed`, in the format of RFC 1952; nothing when it is none, is damaged or breaks off, or when its
/// content is larger than any answer.
std::optional<QByteArray> gunzip(const QByteArray& packed);
