#pragma once

#include "base/Json.h"

#include <vector>

class BackendReply;

/// What the Models tab shows of a reply of "list_remote_models".
struct RemoteModelsReport
{
    std::vector<Json> rows;
    /// One line on how the refresh went.
    QString status;
};

/// What the Models tab shows of the replies of "list_local_models" and "list_model_download_tasks".
struct LocalModelsReport
{
    std::vector<Json> localRows;
    std::vector<Json> taskRows;
    /// How many there are of each.
    QString summary;
    /// One line on how the refresh went.
    QString status;
};

/// Neither ever fails: an error gives empty lists and says so; a reply of another shape gives an empty list.
RemoteModelsReport remoteModelsReport(const BackendReply& reply);

/// An error in one reply empties both lists: half a picture would pass for the whole.
LocalModelsReport localModelsReport(const BackendReply& localReply, const BackendReply& tasksReply);
