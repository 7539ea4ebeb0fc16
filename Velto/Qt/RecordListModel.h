// RecordListModel: a list of values of the plain half of the program, as rows for the views.
//
// Owned by an adapter; main actor only. Rows are told apart by a key, so that a view keeps the delegates of
// those that stay: an open drop-down list and a dragged slider survive every update.
#pragma once

#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QVariant>

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace velto {

/// What of the list is visible to the views: a meta object can't be made of a template.
class ListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY contentChanged)

  public:
    using QAbstractListModel::QAbstractListModel;

    int count() const { return rowCount({}); }
    /// The first row whose role has that value; -1 for none.
    Q_INVOKABLE int indexOf(const QByteArray& role, const QVariant& value) const;

  Q_SIGNALS:
    /// After an update that changed anything.
    void contentChanged();
};

template <class Record>
class RecordListModel final : public ListModel {
  public:
    using Key = std::function<std::string(const Record&)>;
    /// A value of the record, under the name by which the views know it.
    struct Role {
        const char* name;
        std::function<QVariant(const Record&)> read;
    };

    RecordListModel(QObject* parent, Key key, std::vector<Role> roles)
        : ListModel(parent), key_(std::move(key)), roles_(std::move(roles)) {}

    int rowCount(const QModelIndex& parent) const override {
        return parent.isValid() ? 0 : static_cast<int>(records_.size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        const auto number = static_cast<std::size_t>(role - Qt::UserRole);
        if (!checkIndex(index, CheckIndexOption::IndexIsValid) || number >= roles_.size()) return {};
        return roles_[number].read(records_[static_cast<std::size_t>(index.row())]);
    }
    QHash<int, QByteArray> roleNames() const override {
        QHash<int, QByteArray> names;
        for (std::size_t i = 0; i < roles_.size(); ++i)
            names[Qt::UserRole + static_cast<int>(i)] = roles_[i].name;
        return names;
    }

    /// Makes the rows equal the records, with no more changes than that takes.
    void update(const std::vector<Record>& records) {
        if (records_ == records) return;
        removeMissing(records);
        for (std::size_t i = 0; i < records.size(); ++i)
            place(records[i], i);
        removeFrom(records.size());
        Q_EMIT contentChanged();
    }

  private:
    void removeMissing(const std::vector<Record>& records) {
        for (std::size_t i = records_.size(); i-- > 0;) {
            const std::string key = key_(records_[i]);
            if (std::ranges::any_of(records, [&](const Record& record) { return key_(record) == key; }))
                continue;
            beginRemoveRows({}, static_cast<int>(i), static_cast<int>(i));
            records_.erase(records_.begin() + static_cast<std::ptrdiff_t>(i));
            endRemoveRows();
        }
    }

    /// What is left at the end: others had the same key.
    void removeFrom(std::size_t position) {
        if (records_.size() <= position) return;
        beginRemoveRows({}, static_cast<int>(position), static_cast<int>(records_.size()) - 1);
        records_.erase(records_.begin() + static_cast<std::ptrdiff_t>(position), records_.end());
        endRemoveRows();
    }

    void place(const Record& record, std::size_t position) {
        const auto target = records_.begin() + static_cast<std::ptrdiff_t>(position);
        const int row = static_cast<int>(position);
        const std::string key = key_(record);
        const auto found = std::find_if(target, records_.end(),
                                        [&](const Record& candidate) { return key_(candidate) == key; });
        if (found == records_.end()) {
            beginInsertRows({}, row, row);
            records_.insert(target, record);
            endInsertRows();
            return;
        }
        if (found != target) {
            const int from = static_cast<int>(std::distance(records_.begin(), found));
            beginMoveRows({}, from, from, {}, row);
            std::rotate(target, found, std::next(found));
            endMoveRows();
        }
        if (records_[position] == record) return;
        records_[position] = record;
        Q_EMIT dataChanged(index(row), index(row));
    }

    Key key_;
    std::vector<Role> roles_;
    std::vector<Record> records_;
};

} // namespace velto
