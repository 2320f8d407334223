#include "ui/CallOrAlert.h"

#include "backend/NeloBackend.h"
#include "ui/Alerts.h"

std::optional<BackendReply> callOrAlert(QWidget* parent, const QString& failureTitle, std::string_view function,
                                        const std::vector<Json>& args)
{
    const BackendReply reply(NeloBackend::call(function, args));
    if (!reply.isError())
        return reply;
    showAlert(parent, failureTitle, reply.text());
    return std::nullopt;
}
