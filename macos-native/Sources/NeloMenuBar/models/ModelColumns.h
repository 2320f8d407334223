#pragma once

#include "ui/JsonRowModel.h"

/// The columns of the tables of language models and of their downloads.
namespace ModelColumns {

/// Those of the remote catalogue. "Installed" shows a boolean as yes or no, "Tags" a list of texts with commas.
std::vector<JsonColumn> remoteModels();
/// Those of the models that the local server has.
std::vector<JsonColumn> localModels();
/// Those of the downloads that were started, with the last thing that each told.
std::vector<JsonColumn> downloadTasks();

} // namespace ModelColumns
