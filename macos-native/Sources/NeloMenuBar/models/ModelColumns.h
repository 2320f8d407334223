#pragma once

#include "shell/primitives/JsonRowModel.h"

/// The columns of the tables of language models and of their downloads.
namespace ModelColumns {

std::vector<JsonColumn> remoteModels();
std::vector<JsonColumn> localModels();
std::vector<JsonColumn> downloadTasks();

} // namespace ModelColumns
