#include "Velto/Qt/RecordListModel.h"

namespace velto {

int ListModel::indexOf(const QByteArray& role, const QVariant& value) const {
    const int number = roleNames().key(role, -1);
    for (int row = 0; row < count(); ++row)
        if (data(index(row), number) == value) return row;
    return -1;
}

} // namespace velto
