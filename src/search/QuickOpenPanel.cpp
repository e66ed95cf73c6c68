#include "QuickOpenPanel.h"

#include "base/Background.h"
#include "base/Brand.h"
#include "RelativeTime.h"

#include <QAbstractListModel>
#include <QFileInfo>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QStyledItemDelegate>

namespace Lumo::Search {

using Lumo::Base::runInBackground;
namespace Brand = Lumo::Base::Brand;

namespace {

constexpr int rowHeight = 46;

// The folder part of a relative path, without its trailing "/".
QString folderOf(const MarkdownFile &file)
{
    const qsizetype cut = file.relativePath.lastIndexOf(u'/');
    return cut < 0 ? QString() : file.relativePath.left(cut);
}

class RowDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const override
    {
        return {option.rect.width(), rowHeight};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        const auto file = index.data(Qt::UserRole).value<MarkdownFile>();
        painter->save();
        const QPalette &palette = option.palette;
        const QRect row = option.rect.adjusted(6, 1, -6, -1);
        if (option.state & QStyle::State_Selected) {
            painter->setRenderHint(QPainter::Antialiasing);
            painter->setPen(Qt::NoPen);
            // Resolved now, so that a switch between light and dark shows at once.
            painter->setBrush(Brand::selection().current());
            painter->drawRoundedRect(row, 6, 6);
        }
        const QIcon icon =
            QIcon::fromTheme(QStringLiteral("text-x-generic"),
                             option.widget->style()->standardIcon(QStyle::SP_FileIcon));
        icon.paint(painter, QRect(row.left() + 8, row.center().y() - 10, 20, 20));

        const QString when = RelativeTime::abbreviated(file.modified);
        QFont small = option.font;
        small.setPointSizeF(small.pointSizeF() * 0.9);
        const int whenWidth = QFontMetrics(small).horizontalAdvance(when) + 12;
        const QRect text = row.adjusted(38, 4, -whenWidth - 8, -4);

        QFont name = option.font;
        name.setWeight(QFont::Medium);
        painter->setFont(name);
        painter->setPen(palette.color(QPalette::Text));
        const QRect nameRect(text.left(), text.top(), text.width(), text.height() / 2);
        painter->drawText(
            nameRect, Qt::AlignLeft | Qt::AlignVCenter,
            QFontMetrics(name).elidedText(file.name(), Qt::ElideMiddle, text.width()));
        painter->setFont(small);
        painter->setPen(palette.color(QPalette::PlaceholderText));
        const QRect folderRect(text.left(), nameRect.bottom(), text.width(), text.height() / 2);
        painter->drawText(
            folderRect, Qt::AlignLeft | Qt::AlignVCenter,
            QFontMetrics(small).elidedText(folderOf(file), Qt::ElideLeft, text.width()));
        painter->drawText(row.adjusted(0, 0, -12, 0), Qt::AlignRight | Qt::AlignVCenter, when);
        painter->restore();
    }
};

} // namespace

class QuickOpenModel : public QAbstractListModel
{
public:
    using QAbstractListModel::QAbstractListModel;

    void setRows(QList<MarkdownFile> rows)
    {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
    }
    const QList<MarkdownFile> &rows() const { return m_rows; }

    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_rows.size());
    }

    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!index.isValid() || index.row() >= m_rows.size())
            return {};
        const MarkdownFile &file = m_rows[index.row()];
        switch (role) {
        case Qt::DisplayRole:
            return file.name();
        case Qt::ToolTipRole:
            return file.relativePath;
        case Qt::UserRole:
            return QVariant::fromValue(file);
        default:
            return {};
        }
    }

private:
    QList<MarkdownFile> m_rows;
};

QuickOpenPanel::QuickOpenPanel(QWidget *tab)
    : PanelOverlay(tab)
    , m_model(new QuickOpenModel(this))
{
    setObjectName(QStringLiteral("quickOpenPanel"));
    setAccessibleName(tr("Open Quickly"));
    field()->setAccessibleName(tr("File name"));
    list()->setAccessibleName(tr("Matching files"));
    list()->setModel(m_model);
    list()->setItemDelegate(new RowDelegate(list()));
    connect(field(), &QLineEdit::textChanged, this, [this] {
        m_selection = 0;
        refresh();
    });
    connect(list(), &QListView::clicked, this, [this](const QModelIndex &index) {
        select(index.row());
        choose(true);
    });
}

void QuickOpenPanel::open(const QString &root, const QString &currentPath)
{
    m_currentPath = currentPath;
    m_index.reset();
    field()->setPlaceholderText(
        tr("Open a Markdown file in %1")
            .arg(root.isEmpty() ? tr("this folder") : QFileInfo(root).fileName()));
    const quint64 generation = ++m_generation;
    m_loading = !root.isEmpty();
    present();
    refresh();
    if (!m_loading)
        return;
    runInBackground(
        this, [root] { return std::make_shared<const QuickOpenIndex>(ProjectFiles::scan(root)); },
        [this, generation](const std::shared_ptr<const QuickOpenIndex> &index) {
            if (generation != m_generation)
                return;
            m_index = index;
            m_loading = false;
            refresh();
        });
}

QList<MarkdownFile> QuickOpenPanel::results() const
{
    return m_model->rows();
}

void QuickOpenPanel::refresh()
{
    QList<MarkdownFile> rows;
    if (m_index) {
        for (const qsizetype row : m_index->results(field()->text(), m_currentPath))
            rows.append(m_index->files()[row]);
    }
    m_model->setRows(rows);
    // What the list shows, not what the folder holds.
    const auto listed = int(rows.size());
    setSummary(m_loading ? QString() : listed == 1 ? tr("1 file") : tr("%1 files").arg(listed));
    if (m_loading)
        showMessage(tr("Finding Markdown files…"), true);
    else if (rows.isEmpty() && field()->text().isEmpty())
        showMessage(tr("No other Markdown files here."));
    else if (rows.isEmpty())
        showMessage(tr("No matches."));
    else
        showList();
    select(std::min(m_selection, int(rows.size()) - 1));
}

void QuickOpenPanel::select(int row)
{
    m_selection = std::max(row, 0);
    if (row < 0)
        return;
    const QModelIndex index = m_model->index(row);
    list()->setCurrentIndex(index);
    list()->scrollTo(index);
}

void QuickOpenPanel::choose(bool replacingCurrent)
{
    if (m_selection >= m_model->rows().size())
        return;
    Q_EMIT fileChosen(m_model->rows()[m_selection].path, replacingCurrent);
}

void QuickOpenPanel::handleKey(Key key)
{
    const auto count = int(m_model->rows().size());
    switch (key) {
    case Key::Up:
    case Key::Down:
        if (count > 0)
            select((m_selection + (key == Key::Down ? 1 : count - 1)) % count);
        break;
    case Key::Open:
    case Key::OpenInNewTab:
        choose(key == Key::Open);
        break;
    }
}

} // namespace Lumo::Search
