#pragma once

#include "base/Json.h"

#include <vector>

class BackendReply;

/// What the Models tab shows of a reply of "list_remote_models".
struct RemoteModelsReport
{
    std::vector<Json> rows;
    /// One line about the refresh.
    QString status;
};

/// What the Models tab shows of the replies of "list_local_models" and "list_model_download_tasks".
struct LocalModelsReport
{
    std::vector<Json> localRows;
    std::vector<Json> taskRows;
    /// The number of local models and of downloads.
    QString summary;
    /// One line about the refresh.
    QString status;
};

/// Never fails. For an error the list is empty and the status is the error. For a reply of another shape the list is
/// empty.
RemoteModelsReport remoteModelsReport(const BackendReply& reply);

/// The same for two replies. When one of them is an error, both lists are empty: one list alone would look complete.
LocalModelsReport localModelsReport(const BackendReply& localReply, const BackendReply& tasksReply);
