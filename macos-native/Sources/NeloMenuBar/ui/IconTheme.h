#pragma once

#include <QString>

/// Returns the name of the icon theme that is made for a dark or a light background and otherwise is the one called
/// `name`. Themes come in pairs, such as "breeze" and "breeze-dark". Returns `name` where the other one is not
/// installed.
QString iconThemeFor(const QString& name, bool isDark);
