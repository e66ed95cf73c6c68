#include "SearchResultList.h"

#include "base/Brand.h"

#include <QApplication>
#include <QPainter>

namespace Lumo::Search {

namespace Brand = Lumo::Base::Brand;

namespace {

constexpr int headerHeight = 30;
constexpr int hitHeight = 24;
constexpr int lineNumberWidth = 44;

} // namespace

void SearchResultsModel::setHits(const QList<SearchHit> &hits)
{
    beginResetModel();
    m_rows.clear();
    m_rowOfHit.clear();
    m_fileCount = 0;
    QString file;
    for (int i = 0; i < hits.size(); ++i) {
        if (i == 0 || hits[i].file.path != file) {
            file = hits[i].file.path;
            m_rows.append({-1, hits[i]});
            ++m_fileCount;
        }
        m_rowOfHit.append(int(m_rows.size()));
        m_rows.append({i, hits[i]});
    }
    endResetModel();
}

int SearchResultsModel::rowOfHit(int hit) const
{
    return m_rowOfHit.value(hit, -1);
}

int SearchResultsModel::hitOfRow(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows[row].hit : -1;
}

int SearchResultsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant SearchResultsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row &row = m_rows[index.row()];
    switch (role) {
    case Qt::DisplayRole:
        return row.hit < 0 ? row.shown.file.name() : row.shown.snippet;
    case Qt::ToolTipRole:
        return row.shown.file.relativePath;
    case Qt::UserRole:
        return QVariant::fromValue(row.shown);
    case Qt::UserRole + 1:
        return row.hit < 0;
    default:
        return {};
    }
}

Qt::ItemFlags SearchResultsModel::flags(const QModelIndex &index) const
{
    if (hitOfRow(index.row()) < 0)
        return Qt::ItemIsEnabled;
    return QAbstractListModel::flags(index);
}

QSize SearchResultDelegate::sizeHint(const QStyleOptionViewItem &option,
                                     const QModelIndex &index) const
{
    return {option.rect.width(), index.data(Qt::UserRole + 1).toBool() ? headerHeight : hitHeight};
}

void SearchResultDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const
{
    const auto hit = index.data(Qt::UserRole).value<SearchHit>();
    const QPalette &palette = option.palette;
    const QColor secondary = palette.color(QPalette::PlaceholderText);
    painter->save();
    const QRect row = option.rect.adjusted(6, 0, -6, 0);

    if (index.data(Qt::UserRole + 1).toBool()) {
        const QIcon icon =
            QIcon::fromTheme(QStringLiteral("text-x-generic"),
                             QApplication::style()->standardIcon(QStyle::SP_FileIcon));
        icon.paint(painter, QRect(row.left() + 8, row.bottom() - 21, 16, 16));
        QFont bold = option.font;
        bold.setWeight(QFont::DemiBold);
        const QString name = hit.file.name();
        const int nameWidth = QFontMetrics(bold).horizontalAdvance(name);
        const QRect text = row.adjusted(32, 6, -8, 0);
        painter->setFont(bold);
        painter->setPen(palette.color(QPalette::Text));
        painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter, name);
        const qsizetype cut = hit.file.relativePath.lastIndexOf(u'/');
        const QString folder = cut < 0 ? QString() : hit.file.relativePath.left(cut);
        painter->setFont(option.font);
        painter->setPen(secondary);
        const QRect folderRect = text.adjusted(nameWidth + 10, 0, 0, 0);
        painter->drawText(folderRect, Qt::AlignLeft | Qt::AlignVCenter,
                          option.fontMetrics.elidedText(folder, Qt::ElideLeft, folderRect.width()));
        painter->restore();
        return;
    }

    if (option.state & QStyle::State_Selected) {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        // Resolved now, so that a switch between light and dark shows at once.
        painter->setBrush(Brand::selection().current());
        painter->drawRoundedRect(row, 5, 5);
    }
    painter->setFont(option.font);
    painter->setPen(secondary);
    const QRect number(row.left(), row.top(), lineNumberWidth, row.height());
    painter->drawText(number, Qt::AlignRight | Qt::AlignVCenter,
                      QString::number(qlonglong(hit.line) + 1));

    // Before, match, after: the match in bold and the accent colour.
    QFont bold = option.font;
    bold.setWeight(QFont::Bold);
    const QString pieces[3] = {hit.snippet.left(hit.highlightStart),
                               hit.snippet.mid(hit.highlightStart, hit.highlightLength),
                               hit.snippet.mid(hit.highlightStart + hit.highlightLength)};
    const QRect text = row.adjusted(lineNumberWidth + 12, 0, -8, 0);
    painter->setClipRect(text);
    int x = text.left();
    for (int i = 0; i < 3 && x < text.right(); ++i) {
        const QFont &font = i == 1 ? bold : option.font;
        painter->setFont(font);
        painter->setPen(i == 1 ? Brand::accent().current() : palette.color(QPalette::Text));
        const QString piece = i == 0 ? QString(pieces[0]).replace(u'\t', u' ') : pieces[i];
        painter->drawText(QRect(x, text.top(), text.right() - x, text.height()),
                          Qt::AlignLeft | Qt::AlignVCenter, piece);
        x += QFontMetrics(font).horizontalAdvance(piece);
    }
    painter->restore();
}

} // namespace Lumo::Search
