#pragma once

#include <QString>

/// This moment as the chat writes it: UTC in whole seconds in the form of ISO 8601, such as "2025-01-31T09:30:00Z".
QString chatTimestamp();
