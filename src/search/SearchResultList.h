#pragma once

#include "ProjectSearch.h"

#include <QAbstractListModel>
#include <QStyledItemDelegate>

namespace Lumo::Search {

// The rows of the search panel: a header for each file, in the order the files
// first occur among the hits, followed by that file's hits.
class SearchResultsModel final : public QAbstractListModel
{
public:
    using QAbstractListModel::QAbstractListModel;

    void setHits(const QList<SearchHit> &hits);
    // The row showing a hit, counted over hits in display order.
    int rowOfHit(int hit) const;
    // The hit a row shows, or -1 for a header.
    int hitOfRow(int row) const;
    int fileCount() const { return m_fileCount; }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

private:
    struct Row
    {
        int hit;         // -1 for a file header
        SearchHit shown; // the file's first hit, for a header
    };
    QList<Row> m_rows;
    QList<int> m_rowOfHit;
    int m_fileCount = 0;
};

// Paints file headers (name, then folder in the secondary colour) and hit rows (the
// one-based line number, then the snippet with its match emphasised).
class SearchResultDelegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
};

} // namespace Lumo::Search
