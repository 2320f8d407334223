#pragma once

#include <QString>

#include <optional>

class QWidget;

/// Asks for the API key of the provider of `model`. The field is masked and starts with `storedKey`. Returns the key
/// without the blanks around it; it may be empty. Returns nothing when the user cancelled. Runs an event loop.
std::optional<QString> askForApiKey(QWidget* parent, const QString& model, const QString& storedKey);
