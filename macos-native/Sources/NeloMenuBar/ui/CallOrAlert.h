#pragma once

#include "backend/BackendReply.h"

#include <optional>

class QWidget;

/// Calls the backend's `function` with `args`, and blocks until it has answered. Returns its reply. A failure is told
/// in the alert `failureTitle` over `parent`, with the whole reply as its text, and nothing is returned. The alert runs
/// an event loop: look again before you touch what may have gone meanwhile.
[[nodiscard]] std::optional<BackendReply> callOrAlert(QWidget* parent, const QString& failureTitle,
                                                      std::string_view function, const std::vector<Json>& args = {});
