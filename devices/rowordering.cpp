#include "rowordering.h"

#include <QModelIndex>

bool sortRowsLowToHigh(const QModelIndex& first, const QModelIndex& second)
{
    return first.row() < second.row();
}

bool sortRowsHighToLow(const QModelIndex& first, const QModelIndex& second)
{
    return first.row() > second.row();
}
