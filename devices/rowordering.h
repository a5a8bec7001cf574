#pragma once

class QModelIndex;

// Orderings of selected rows by row number: low to high for moving rows in
// order, high to low for removing them without shifting rows still to go.
bool sortRowsLowToHigh(const QModelIndex& first, const QModelIndex& second);
bool sortRowsHighToLow(const QModelIndex& first, const QModelIndex& second);
