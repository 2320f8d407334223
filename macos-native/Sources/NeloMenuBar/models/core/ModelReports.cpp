#include "models/core/ModelReports.h"

#include "backend/BackendReply.h"

namespace {

QString countsText(std::size_t localCount, std::size_t taskCount)
{
    return QStringLiteral("Local: ") + QString::number(localCount) + QStringLiteral("  Tasks: ")
           + QString::number(taskCount);
}

} // namespace

RemoteModelsReport remoteModelsReport(const BackendReply& reply)
{
    return {reply.rows(), reply.isError() ? reply.text() : QStringLiteral("Loaded remote model catalog.")};
}

LocalModelsReport localModelsReport(const BackendReply& localReply, const BackendReply& tasksReply)
{
    if (localReply.isError() || tasksReply.isError())
        return {{}, {}, countsText(0, 0), localReply.isError() ? localReply.text() : tasksReply.text()};

    std::vector<Json> localRows = localReply.rows();
    std::vector<Json> taskRows = tasksReply.rows();
    const QString summary = countsText(localRows.size(), taskRows.size());
    return {std::move(localRows), std::move(taskRows), summary, QStringLiteral("Loaded local models and tasks.")};
}
