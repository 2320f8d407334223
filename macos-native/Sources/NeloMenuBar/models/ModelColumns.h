#pragma once

#include "ui/JsonRowModel.h"

/// The columns of the tables of language models and of their downloads.
namespace ModelColumns {

/// Returns the columns of the remote catalogue. "Installed" shows a boolean as yes or no, "Tags" a list of strings with
/// commas.
std::vector<JsonColumn> remoteModels();
/// Returns the columns of the models that the local server has.
std::vector<JsonColumn> localModels();
/// Returns the columns of the downloads. "Last Log" is the last line that a download has reported.
std::vector<JsonColumn> downloadTasks();

} // namespace ModelColumns
