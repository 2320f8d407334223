#include "ui/JsonRowModel.h"

#include "ui/SingleLine.h"

#include <algorithm>
#include <deque>
#include <numeric>
#include <unordered_map>
#include <utility>

namespace {

constexpr int noRow = -1;

/// Returns the members of `row` with the names `identity` as a list. A missing member is null in it.
Json membersOf(const Json& row, const std::vector<std::string_view>& identity)
{
    Json members = Json::array();
    for (const std::string_view key : identity)
        members.push_back(row.value(key, Json()));
    return members;
}

/// Returns whether the members with the names `identity` are the same. Without such names two rows have no identity.
bool haveSameIdentity(const Json& row, const Json& other, const std::vector<std::string_view>& identity)
{
    return !identity.empty() && std::all_of(identity.begin(), identity.end(), [&](std::string_view key) {
        const auto one = row.find(key);
        const auto two = other.find(key);
        return one != row.end() && two != other.end() ? *one == *two : one == row.end() && two == other.end();
    });
}

/// Matches each of `rows` that has no earlier row yet with the first free earlier row that has the same key.
template <typename KeyOf>
void matchBy(KeyOf keyOf, const std::vector<Json>& earlier, const std::vector<Json>& rows, std::vector<int>& indexes)
{
    std::vector<bool> isTaken(earlier.size(), false);
    for (const int index : indexes) {
        if (index != noRow)
            isTaken[static_cast<std::size_t>(index)] = true;
    }
    std::unordered_map<std::string, std::deque<int>> free;
    for (std::size_t i = 0; i < earlier.size(); ++i) {
        if (!isTaken[i])
            free[keyOf(earlier[i])].push_back(static_cast<int>(i));
    }
    if (free.empty())
        return; // a key takes as long as printing the row
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::deque<int>* same = indexes[i] == noRow ? &free[keyOf(rows[i])] : nullptr;
        if (!same || same->empty())
            continue;
        indexes[i] = same->front();
        same->pop_front();
    }
}

} // namespace

JsonRowModel::JsonRowModel(std::vector<JsonColumn> columns, std::vector<std::string_view> identity, QObject* parent)
    : QAbstractTableModel(parent), m_columns(std::move(columns)), m_identity(std::move(identity))
{}

int JsonRowModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size()); // a table has no children
}

int JsonRowModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

QVariant JsonRowModel::data(const QModelIndex& index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= rowCount())
        return {};
    const Json& row = m_rows[static_cast<std::size_t>(index.row())];
    const JsonColumn& column = m_columns[static_cast<std::size_t>(index.column())];
    return withoutLineBreaks(column.text ? column.text(row) : textOf(row, column.key));
}

QVariant JsonRowModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    return role == Qt::DisplayRole ? m_columns[static_cast<std::size_t>(section)].title : QVariant();
}

void JsonRowModel::setRows(std::vector<Json> rows)
{
    const std::size_t leading = isKeptRowElsewhere(rows) ? 0 : changeLeadingRows(rows);
    if (leading == rows.size() && leading == m_rows.size())
        return;
    const std::vector<int> indexes = earlierIndexes(rows, leading);
    removeRowsBut(indexes);
    reorderRows(indexes);
    insertMissingRows(rows, indexes);
    changeKeptRows(rows, indexes, leading);
}

/// Returns whether a row of which a view keeps an index is at another place in `rows`. Other rows with the same
/// identity may change places unnoticed: otherwise each refresh would search for every row.
bool JsonRowModel::isKeptRowElsewhere(const std::vector<Json>& rows) const
{
    const QModelIndexList kept = persistentIndexList();
    return std::any_of(kept.begin(), kept.end(), [&](const QModelIndex& index) {
        const auto place = static_cast<std::size_t>(index.row());
        const bool isHere = place < rows.size() && rows[place] == m_rows[place];
        return !isHere && std::find(rows.begin(), rows.end(), m_rows[place]) != rows.end();
    });
}

/// Changes the rows that are at their old places, up to the first that is not, and returns their number. They are most
/// often all, and each is looked at only once.
std::size_t JsonRowModel::changeLeadingRows(std::vector<Json>& rows)
{
    const std::size_t places = std::min(rows.size(), m_rows.size());
    std::size_t firstChanged = 0;
    for (std::size_t row = 0;; ++row) {
        const bool isEqual = row < places && rows[row] == m_rows[row];
        if (row < places && !isEqual && haveSameIdentity(rows[row], m_rows[row], m_identity)) {
            m_rows[row] = std::move(rows[row]);
            continue;
        }
        announceChange(firstChanged, row);
        if (!isEqual)
            return row;
        firstChanged = row + 1;
    }
}

/// Returns for each of `rows` the index of the row that is shown for it now, or `noRow` for a new one. The `leading`
/// rows are at their places.
std::vector<int> JsonRowModel::earlierIndexes(const std::vector<Json>& rows, std::size_t leading) const
{
    std::vector<int> indexes(rows.size(), noRow);
    std::iota(indexes.begin(), indexes.begin() + static_cast<std::ptrdiff_t>(leading), 0);
    matchBy([](const Json& row) { return row.dump(); }, m_rows, rows, indexes);
    if (!m_identity.empty())
        matchBy([this](const Json& row) { return membersOf(row, m_identity).dump(); }, m_rows, rows, indexes);
    return indexes;
}

void JsonRowModel::removeRowsBut(const std::vector<int>& keptIndexes)
{
    std::vector<bool> isKept(m_rows.size(), false);
    for (const int index : keptIndexes) {
        if (index != noRow)
            isKept[static_cast<std::size_t>(index)] = true;
    }
    for (auto last = static_cast<int>(isKept.size()); last > 0;) {
        if (isKept[static_cast<std::size_t>(last - 1)]) {
            --last;
            continue;
        }
        int first = last - 1;
        while (first > 0 && !isKept[static_cast<std::size_t>(first - 1)])
            --first;
        beginRemoveRows({}, first, last - 1);
        m_rows.erase(m_rows.begin() + first, m_rows.begin() + last);
        endRemoveRows();
        last = first;
    }
}

/// Brings the kept rows into their new order. `earlierIndexes` counts from before rows were removed.
void JsonRowModel::reorderRows(const std::vector<int>& earlierIndexes)
{
    std::vector<int> order = earlierIndexes;
    std::erase(order, noRow);
    if (std::is_sorted(order.begin(), order.end()))
        return;
    std::vector<int> places(m_rows.size()); // by the row of now
    std::iota(places.begin(), places.end(), 0);
    std::sort(places.begin(), places.end(), [&order](int one, int other) {
        return order[static_cast<std::size_t>(one)] < order[static_cast<std::size_t>(other)];
    });

    emit layoutAboutToBeChanged();
    std::vector<Json> moved(m_rows.size());
    for (std::size_t row = 0; row < m_rows.size(); ++row)
        moved[static_cast<std::size_t>(places[row])] = std::move(m_rows[row]);
    m_rows = std::move(moved);
    for (const QModelIndex& index : persistentIndexList())
        changePersistentIndex(index, createIndex(places[static_cast<std::size_t>(index.row())], index.column()));
    emit layoutChanged();
}

void JsonRowModel::insertMissingRows(std::vector<Json>& rows, const std::vector<int>& earlierIndexes)
{
    const auto isNew = [&](std::size_t row) { return row < rows.size() && earlierIndexes[row] == noRow; };
    for (std::size_t first = 0; first < rows.size(); ++first) {
        if (!isNew(first))
            continue;
        std::size_t end = first;
        while (isNew(end))
            ++end;
        beginInsertRows({}, static_cast<int>(first), static_cast<int>(end) - 1);
        const auto from = rows.begin() + static_cast<std::ptrdiff_t>(first);
        m_rows.insert(m_rows.begin() + static_cast<std::ptrdiff_t>(first), std::move_iterator(from),
                      std::move_iterator(rows.begin() + static_cast<std::ptrdiff_t>(end)));
        endInsertRows();
        first = end;
    }
}

/// Changes the rows behind the `leading` ones that were shown before.
void JsonRowModel::changeKeptRows(std::vector<Json>& rows, const std::vector<int>& earlierIndexes, std::size_t leading)
{
    const auto isChanged = [&](std::size_t row) { return earlierIndexes[row] != noRow && m_rows[row] != rows[row]; };
    for (std::size_t first = leading; first < rows.size(); ++first) {
        std::size_t end = first;
        for (; end < rows.size() && isChanged(end); ++end)
            m_rows[end] = std::move(rows[end]);
        announceChange(first, end);
        first = end;
    }
}

/// Tells views that the rows from `first` up to but not including `end` have changed, if there are any.
void JsonRowModel::announceChange(std::size_t first, std::size_t end)
{
    if (first < end)
        emit dataChanged(index(static_cast<int>(first), 0), index(static_cast<int>(end) - 1, columnCount() - 1));
}
