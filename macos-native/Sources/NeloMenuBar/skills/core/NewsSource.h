#pragma once

#include "base/Json.h"

/// What the pop-up of configured sources shows of one.
QString newsSourceTitle(const Json& source);

/// How many sources there are, as a sentence.
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

/// The source as the backend wants it, texts without the white space around them.
Json toJson(const NewNewsSource& source);
