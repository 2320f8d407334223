#include "agents/core/AgentReport.h"

#include "backend/BackendReply.h"

#include <QStringList>

#include <map>
#include <unordered_map>

namespace {

QString countsByEcosystem(const std::vector<Json>& rows)
{
    const Json unknown = "unknown";
    // Rows are counted by the JSON value, because making a text of each would take longer than the rest.
    std::unordered_map<Json, int> rowsOf;
    for (const Json& row : rows) {
        const auto ecosystem = row.find("ecosystem");
        ++rowsOf[ecosystem == row.end() ? unknown : *ecosystem];
    }
    std::map<QString, int> counts;
    for (const auto& [ecosystem, count] : rowsOf)
        counts[textOf(ecosystem)] += count;

    QStringList parts;
    for (const auto& [ecosystem, count] : counts)
        parts.append(ecosystem + u':' + QString::number(count));
    const QString total = QStringLiteral("Total: ") + QString::number(rows.size());
    return parts.isEmpty() ? total : total + QStringLiteral(" (") + parts.join(QStringLiteral(", ")) + u')';
}

} // namespace

AgentReport agentReport(const BackendReply& reply)
{
    std::vector<Json> rows = reply.rows();
    const QString summary = countsByEcosystem(rows);
    const QString synced = QStringLiteral("Synced local discovery to Core and loaded Core agent registry.");
    return {std::move(rows), summary, reply.isError() ? reply.text() : synced};
}
