#pragma once

#include "base/Json.h"

/// Returns whether `skill` is the one that watches news sources.
bool isSocialMediaAlert(const Json& skill);

/// Returns what the pop-up of configured sources shows of one.
QString newsSourceTitle(const Json& source);

/// Returns how many sources there are, as a sentence.
QString newsSourceSummary(std::size_t count);

/// A source that the user describes. Nothing of it is checked here: the backend decides.
struct NewNewsSource
{
    QString type;
    QString id;
    QString name;
    QString url;
    bool isEnabled = true;
};

/// Returns the source as the backend wants it, its texts without the white space around them.
Json toJson(const NewNewsSource& source);
