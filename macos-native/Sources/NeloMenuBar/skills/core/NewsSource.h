#pragma once

#include "base/Json.h"

/// Returns whether `skill` is "social-media-alert", the skill that watches news sources.
bool isSocialMediaAlert(const Json& skill);

/// Returns the title of a source in the pop-up of configured sources.
QString newsSourceTitle(const Json& source);

/// Returns a sentence with the number of sources.
QString newsSourceSummary(std::size_t count);

/// A source that the user has described. The backend checks it.
struct NewNewsSource
{
    QString type;
    QString id;
    QString name;
    QString url;
    bool isEnabled = true;
};

/// Returns the source in the form that the backend expects. The texts lose the white space around them.
Json toJson(const NewNewsSource& source);
